#pragma once

#include <memory>

#include "zulobj/object.h"

namespace zulobj {

/// A new record of the class that @p type stands for; a plain cObject if no class does.
std::unique_ptr<cObject> createRecord(eObjectTypes type);

} // namespace zulobj
