#include "wlog/wlog.h"

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

std::string trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
}

bool begins(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

/// The lines of a property file, without the "log4cpp." that a name may begin with. A line without "=" is
/// a name without a value.
Properties readProperties(const char* path)
{
    Properties properties;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty()) {
            continue;
        }
        const size_t equals = line.find('=');
        std::string name = trimmed(line.substr(0, equals));
        if (begins(name, "log4cpp.")) {
            name.erase(0, std::string("log4cpp.").size());
        }
        properties[name] = equals == std::string::npos ? std::string() : trimmed(line.substr(equals + 1));
    }
    return properties;
}

bool isKnown(const std::string& name)
{
    return name == "rootCategory" || begins(name, "category.") || begins(name, "additivity.") ||
           begins(name, "appender.");
}

/// Whether the property says of which type an appender is, and that type writes a file.
bool isFileAppender(const std::string& name, const std::string& value)
{
    const std::string type = "FileAppender";
    return begins(name, "appender.") &&
           name.find('.', std::string("appender.").size()) == std::string::npos &&
           value.size() >= type.size() && value.compare(value.size() - type.size(), type.size(), type) == 0;
}

/// What log4cpp would pass over, in a few words; empty when there is nothing.
std::string overlooked(const Properties& properties)
{
    for (const auto& [name, value] : properties) {
        if (!isKnown(name)) {
            return "nothing is known by the name '" + name + "'";
        }
        const auto fileName = properties.find(name + ".fileName");
        if (isFileAppender(name, value) && (fileName == properties.end() || fileName->second.empty())) {
            return name + ".fileName is missing";
        }
    }
    return {};
}

/// The same of what log4cpp has made of the file.
std::string unwritable(const Categories& categories)
{
    for (log4cpp::Category* category : categories) {
        for (log4cpp::Appender* appender : category->getAllAppenders()) {
            // An appender opens its output without a word; opening it again tells.
            if (!appender->reopen()) {
                return "the file of appender '" + appender->getName() + "' cannot be written";
            }
        }
    }
    return log4cpp::Category::getRoot().getAllAppenders().empty() ? "rootCategory names no appender" : "";
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
    return unwritable(*categories);
}

/// Takes every output away and gives lines from @p rootPriority up to standard error.
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
    std::string problem = overlooked(readProperties(configFile));
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
