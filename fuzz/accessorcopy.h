#pragma once

#include <memory>

#include "zulobj/object.h"

/// A record of the class of @p record that got each field by its setter from @p record's getter.
std::unique_ptr<cObject> copiedByAccessors(const cObject& record);
