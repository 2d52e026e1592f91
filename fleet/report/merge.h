#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "fleet/report/fleetreport.h"

namespace fleet {

/// A report and where it comes from.
struct NamedReport
{
    std::string name;
    FleetReport report;
};

/// The report of a whole fleet from those of all its parts. Nothing if they are not the parts of one run,
/// each once; then *@p mistake is the sentence about it.
///
/// Counts and rates are sums, also mostConnects, because the parts' seconds may coincide. Times are those of
/// the last part, and the limits those of the part with the lowest.
std::optional<FleetReport> mergeReports(const std::vector<NamedReport>& parts, std::string* mistake);

/// Merges the reports in @p files: the table goes to @p out, the JSON to @p reportPath. Returns the exit
/// status; if it is not 0, @p err has one sentence.
int runMerge(const std::vector<std::string>& files, const std::optional<std::string>& reportPath,
             std::ostream& out, std::ostream& err);

} // namespace fleet
