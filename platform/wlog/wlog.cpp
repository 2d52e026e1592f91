#include "wlog/wlog.h"

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <iostream>
#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/PropertyConfigurator.hh>

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
    try {
        log4cpp::PropertyConfigurator::configure(configFile);
    } catch (const std::exception& failure) {
        return std::string("The log configuration ") + configFile + " was not taken: " + failure.what();
    }
    return {};
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
