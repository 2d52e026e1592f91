#pragma once

#include <optional>
#include <string>
#include <vector>

#include "proxy/rules/rule.h"

namespace proxy {

/// Reads one rule. Returns one sentence that names the word that is wrong, or an empty text if @p *rule was
/// filled.
std::string parseRule(const std::string& text, Rule* rule);

/// Reads a file of rules, one a line; blank lines and those that begin with '#' are skipped. Appends to
/// @p *rules. The sentence about a mistake names @p name and the line.
std::string parseRules(const std::string& content, const std::string& name, std::vector<Rule>* rules);

/// The kind that the line about a fault bears for a rule of the kind or alias @p name. Nothing if there is no
/// such kind.
std::optional<eFault> parseFaultKind(const std::string& name);

} // namespace proxy
