#include "displayplatform.h"

#include "options.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <cstdlib>
#include <cstring>
#include <iostream>

bool displayplatform::prepare(const cOptions& options)
{
    if (options.headless) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // A desktop's theme may open the display by itself, and end the program if there is none.
        qunsetenv("QT_QPA_PLATFORMTHEME");
        return true;
    }
    return options.platformNamed || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

void displayplatform::endOnFailure(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtFatalMsg) {
        std::cerr << "zulbench: the display could not be opened; use --headless to run without one"
                  << std::endl;
        std::_Exit(1);
    }
    // The plugins' own warnings say why; they belong to the sentence or to nothing.
    if (context.category == nullptr || std::strncmp(context.category, "qt.qpa.", 7) != 0) {
        std::cerr << qPrintable(qFormatLogMessage(type, context, message)) << std::endl;
    }
}
