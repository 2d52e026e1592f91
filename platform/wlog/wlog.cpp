#include "wlog/wlog.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <map>
#include <memory>
#include <vector>

namespace {

const char kAppenderName[] = "zul-stderr";

/// log4cpp owns the appender and its layout from here on.
log4cpp::Appender* makeStderrAppender()
{
    auto* layout = new log4cpp::PatternLayout;
    layout->setConversionPattern("%d{%Y-%m-%d %H:%M:%S.%l} %p %c: %m%n");
    auto* appender = new log4cpp::OstreamAppender(kAppenderName, &std::cerr);
    appender->setLayout(layout);
    return appender;
}

using Properties = std::map<std::string, std::string>;
using Categories = std::vector<log4cpp::Category*>;

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(" \t\r") + 1);
    return text.erase(0, text.find_first_not_of(" \t\r"));
}

/// The lines of a property file, without the "log4cpp." that a name may begin with. A line without "=" is a
/// name with an empty value.
Properties readProperties(const char* path)
{
    Properties properties;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty()) {
            continue;
        }
        if (line.starts_with("log4cpp.")) {
            line.erase(0, line.find('.') + 1);
        }
        const size_t equals = std::min(line.find('='), line.size());
        properties[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals).erase(0, 1));
    }
    return properties;
}

/// What log4cpp would ignore in the file, in a few words; empty if there is nothing.
std::string ignoredProblem(const Properties& properties)
{
    for (const auto& [name, value] : properties) {
        const std::string kind = name.substr(0, name.find('.') + 1);
        if (name != "rootCategory" && kind != "category." && kind != "additivity." && kind != "appender.") {
            return "nothing is known by the name '" + name + "'";
        }
        // "appender.NAME" has the type of the appender.
        const bool writesFile =
            kind == "appender." && name.rfind('.') + 1 == kind.size() && value.ends_with("FileAppender");
        const auto fileName = properties.find(name + ".fileName");
        if (writesFile && (fileName == properties.end() || fileName->second.empty())) {
            return name + ".fileName is missing";
        }
    }
    return {};
}

/// Configures log4cpp; returns why that failed, or an empty text.
std::string configure(const char* path)
{
    try {
        log4cpp::PropertyConfigurator::configure(path);
    } catch (const std::exception& failure) {
        return failure.what();
    }
    const std::unique_ptr<Categories> categories(log4cpp::Category::getCurrentCategories());
    for (log4cpp::Category* category : *categories) {
        for (log4cpp::Appender* appender : category->getAllAppenders()) {
            // An appender ignores that its file can't be opened; reopen() tells.
            if (!appender->reopen()) {
                return "the file of appender '" + appender->getName() + "' cannot be written";
            }
        }
    }
    return log4cpp::Category::getRoot().getAllAppenders().empty() ? "rootCategory names no appender" : "";
}

/// Removes every output and sends lines of @p rootPriority and above to standard error.
void startOver(int rootPriority)
{
    const std::unique_ptr<Categories> categories(log4cpp::Category::getCurrentCategories());
    for (log4cpp::Category* category : *categories) {
        category->removeAllAppenders();
        if (category->getParent() != nullptr) {
            category->setPriority(log4cpp::Priority::NOTSET);
        }
    }
    cWlog::init(static_cast<cWlog::WlogPiority>(rootPriority));
}

} // namespace

cWlog::cWlog(const char* logName) : mLogName(logName) { mLogBuffer[0] = '\0'; }

void cWlog::init(WlogPiority priority)
{
    log4cpp::Category& root = log4cpp::Category::getRoot();
    if (root.getAppender(kAppenderName) == nullptr) {
        root.addAppender(makeStderrAppender());
    }
    root.setPriority(priority);
}

std::string cWlog::init(const char* configFile)
{
    std::string problem = ignoredProblem(readProperties(configFile));
    if (problem.empty()) {
        const int before = log4cpp::Category::getRoot().getPriority();
        problem = configure(configFile);
        if (problem.empty()) {
            return {};
        }
        startOver(before);
    }
    return std::string("The log configuration ") + configFile + " was not taken: " + problem + ".";
}

void cWlog::setLogName(const char* logName) { mLogName = logName; }

void cWlog::fatal(const char* text) const { log4cpp::Category::getInstance(mLogName).fatal("%s", text); }
void cWlog::error(const char* text) const { log4cpp::Category::getInstance(mLogName).error("%s", text); }
void cWlog::warn(const char* text) const { log4cpp::Category::getInstance(mLogName).warn("%s", text); }
void cWlog::info(const char* text) const { log4cpp::Category::getInstance(mLogName).info("%s", text); }
void cWlog::debug(const char* text) const { log4cpp::Category::getInstance(mLogName).debug("%s", text); }

bool cWlog::debugEnabled() const { return log4cpp::Category::getInstance(mLogName).isDebugEnabled(); }

const char* cWlog::logText(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(mLogBuffer, sizeof mLogBuffer, format, arguments);
    va_end(arguments);
    return mLogBuffer;
}
