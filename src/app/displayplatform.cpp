#include "displayplatform.h"

#include "options.h"

#include <QByteArray>

namespace {

void useOffscreenPlatform()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // A desktop's theme may open the display by itself, and end the program if there is none.
    qunsetenv("QT_QPA_PLATFORMTHEME");
}

} // namespace

bool displayplatform::prepare(const cOptions& options)
{
    if (options.headless) {
        useOffscreenPlatform();
        return true;
    }
    return options.platformNamed || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}
