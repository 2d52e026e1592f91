#pragma once

#include "zulscenario/scenario.h"
#include "zulscenario/valuereader.h"

namespace zulscenario {

/// Reads a table: comma-separated values, the first row such as "time,DIN 1,AIN 1". @p content is text;
/// @p values has the device's ports, and keeps the first mistake.
Table readTable(std::string_view content, const ValueReader& values);

} // namespace zulscenario
