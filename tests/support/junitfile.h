#pragma once

#include <string>

/// Reads a JUnit report with an XML parser of its own; the first look at it holds it against the schema.
class JunitFile
{
public:
    /// A name for a file that does not exist yet.
    JunitFile();
    ~JunitFile();
    JunitFile(const JunitFile&) = delete;
    JunitFile& operator=(const JunitFile&) = delete;

    const std::string& path() const { return mPath; }
    bool exists() const;

    /// What the schema and the counts find wrong; empty for a sound report.
    std::string mistakes() const;

    /// What the XPath expression @p expression makes of the report, as a text.
    std::string text(const std::string& expression) const;

    int number(const std::string& expression) const { return std::stoi(text(expression)); }

    /// The one message in element @p element of the case named @p name, "(none)" where there is none.
    std::string message(const std::string& name, const std::string& element) const;

private:
    std::string mPath;
};
