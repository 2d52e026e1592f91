#pragma once

#include <string>

#include "fleet/report/fleetreport.h"

namespace fleet {

/// The report as a table for people, in lines.
std::string reportTable(const FleetReport& report);

} // namespace fleet
