#pragma once

#include <memory>

#include "zulobj/object.h"

namespace zulobj {

/// A new record of the class for @p type; a plain cObject if there is none.
std::unique_ptr<cObject> createRecord(eObjectTypes type);

} // namespace zulobj
