#pragma once

#include <QtGlobal>

struct cOptions;

/// Chooses Qt's platform before the QApplication is constructed.
namespace displayplatform {

/// Sets the environment up for @p options. Returns false if nothing names a display or another platform, with
/// which Qt would end the program.
bool prepare(const cOptions& options);

/// During its lifetime, if Qt's platform cannot start (no server answers at DISPLAY, for instance), the
/// program ends with one sentence on standard error and status 1. Qt alone would abort.
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
