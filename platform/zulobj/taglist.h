#pragma once

#include <vector>

#include "wmsg/wtag.h"

/// The tags of one record, in the order of its table.
using cTagList = std::vector<WTag>;
