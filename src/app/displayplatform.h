#pragma once

#include <QtGlobal>

struct cOptions;

/// Chooses Qt's platform before the QApplication is constructed.
namespace displayplatform {

/// Sets the environment up for @p options. Returns false if nothing names a display or another platform, with
/// which Qt would end the program.
bool prepare(const cOptions& options);

/// While it lives, a platform that cannot start, such as a display that nobody serves, ends the program with
/// one sentence on standard error and status 1. Qt would abort.
class FailureHandler
{
public:
    FailureHandler();
    ~FailureHandler();
    FailureHandler(const FailureHandler&) = delete;
    FailureHandler& operator=(const FailureHandler&) = delete;

private:
    const QtMessageHandler mFormer;
};

} // namespace displayplatform
