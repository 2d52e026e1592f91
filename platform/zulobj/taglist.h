#pragma once

#include <vector>

#include "wmsg/wpayload.h"

/// The tags of one record, in the order of its table.
using cTagList = std::vector<WTag>;
