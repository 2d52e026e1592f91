#pragma once

#include <string>

#include "zulscenario/mistakes.h"
#include "zulscenario/yamlnode.h"

namespace zulscenario {

/// Takes the entries of the map that a YAML file is, in their order.
class NodeSink
{
public:
    virtual ~NodeSink() = default;

    /// @p value has no items if it is a list: they follow, one by one.
    virtual void entry(const YamlNode& key, const YamlNode& value) = 0;

    virtual void element(const YamlNode& value) = 0;
};

/// Reads the YAML file @p content, which is text, as one map. Keys are texts, none is there twice; anchors,
/// aliases and tags are mistakes. Ends at the first mistake, and takes memory for one entry or element.
void readNodes(const std::string& content, NodeSink* sink, Mistakes* mistakes);

} // namespace zulscenario
