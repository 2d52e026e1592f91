#include "display.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QtEndian>
#include <QtTest>
#include <algorithm>
#include <array>

#include "programs.h"

namespace {

constexpr int kProcessHangs = 60000; // milliseconds
constexpr int kMinIntervalMs = 250;  // milliseconds without a change, before a picture is kept
constexpr int kSmallest = 0;         // the quality of a PNG that is packed best; all of them lose nothing

// What the window manager draws around a window, but for the handle below some.
constexpr QMargins kFrame{1, 20, 1, 1};

// The words of the X window dump that stands before the pixels.
enum DumpWord
{
    HEADER_SIZE = 0,
    WIDTH = 4,
    HEIGHT = 5,
    BYTES_PER_LINE = 12,
    COLOURS = 19,
    WORDS = 20
};
constexpr int kColourSize = 12; // bytes

/// The words of @p dump; all 0 if it is too short.
std::array<int, WORDS> wordsOf(const QByteArray& dump)
{
    std::array<int, WORDS> words{};
    if (dump.size() >= WORDS * 4) {
        for (int i = 0; i < WORDS; ++i) {
            words.at(static_cast<size_t>(i)) = qFromBigEndian<qint32>(dump.constData() + i * 4);
        }
    }
    return words;
}

/// PNG has a place for the date, which is left empty: the same picture makes the same file.
bool save(const QImage& picture, const QString& name)
{
    const QString folder = qEnvironmentVariable("ZUL_PICTURES", PICTURES_DIRECTORY);
    return QDir().mkpath(folder) && picture.save(folder + QLatin1Char('/') + name + ".png", "PNG", kSmallest);
}

void end(QProcess* process)
{
    process->terminate();
    if (!process->waitForFinished(kProcessHangs)) {
        process->kill();
        process->waitForFinished();
    }
}

/// A desktop's settings, which must not reach the programs under test.
QStringList namesOfDesktop(const QProcessEnvironment& environment)
{
    const QStringList prefixes{"QT_",      "XDG_",       "KDE_",  "GNOME_",          "GTK_",
                               "DESKTOP_", "XMODIFIERS", "DBUS_", "SESSION_MANAGER", "WAYLAND_"};
    QStringList names;
    for (const QString& name : environment.keys()) {
        if (std::any_of(prefixes.begin(), prefixes.end(),
                        [&](auto& prefix) { return name.startsWith(prefix); })) {
            names.append(name);
        }
    }
    return names;
}

} // namespace

Display::Display()
{
    writeFontList();
    mServer.setStandardErrorFile(mFiles.filePath("server.log"));
    // Without -noreset it would begin anew whenever no program is connected, and lose one that just comes.
    mServer.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-dpi", "96", "-nolisten", "tcp",
                           "-noreset", "-fbdir", mFiles.path()});
    if (!Program::waitFor([this] { return mServer.canReadLine(); })) {
        report("server");
        return;
    }
    mName = QLatin1Char(':') + QString::fromLatin1(mServer.readLine().trimmed());
    mWindowManager.setProcessEnvironment(environment());
    mWindowManager.setStandardOutputFile(QProcess::nullDevice());
    mWindowManager.setStandardErrorFile(mFiles.filePath("manager.log"));
    mWindowManager.start("openbox", {"--sm-disable"});
    // It answers for the desktops as soon as it has taken over.
    if (!Program::waitFor([this] { return !xdotool({"get_num_desktops"}).isEmpty(); })) {
        report("manager");
        mName.clear();
    }
}

void Display::report(const QString& program) const
{
    QFile log(mFiles.filePath(program + ".log"));
    log.open(QIODevice::ReadOnly);
    qWarning("The display is not up: %s", log.readAll().constData());
}

Display::~Display()
{
    end(&mWindowManager);
    end(&mServer);
}

void Display::writeFontList() const
{
    QFile file(mFiles.filePath("fonts.conf"));
    file.open(QIODevice::WriteOnly);
    file.write(
        "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig>"
        "<dir>/usr/share/fonts/truetype/dejavu</dir><cachedir>" +
        mFiles.filePath("fonts").toLocal8Bit() +
        "</cachedir><alias><family>Sans Serif</family><prefer><family>DejaVu Sans</family></prefer></alias>"
        "<alias><family>sans</family><prefer><family>DejaVu Sans</family></prefer></alias></fontconfig>");
}

QProcessEnvironment Display::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : namesOfDesktop(environment)) {
        environment.remove(name);
    }
    environment.insert("HOME", mFiles.path());
    environment.insert("DISPLAY", mName);
    environment.insert("XDG_RUNTIME_DIR", mFiles.path());
    environment.insert("FONTCONFIG_FILE", mFiles.filePath("fonts.conf"));
    // Nothing here draws by it, and its driver leaks.
    environment.insert("QT_XCB_GL_INTEGRATION", "none");
    return environment;
}

void Display::take(Program* program) const
{
    QProcessEnvironment environment = this->environment();
    environment.insert("HOME", program->home());
    program->process().setProcessEnvironment(environment);
}

QString Display::xdotool(const QStringList& arguments) const
{
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start("xdotool", arguments);
    const bool ended = process.waitForFinished(kProcessHangs) && process.exitStatus() == QProcess::NormalExit;
    return ended && process.exitCode() == 0 ? QString::fromUtf8(process.readAllStandardOutput()).trimmed()
                                            : QString();
}

void Display::press(const QStringList& keys) const { xdotool(QStringList{"key", "--delay", "0"} + keys); }

void Display::press(const QString& key, int times) const
{
    QStringList keys;
    for (int i = 0; i < times; ++i) {
        keys.append(key);
    }
    press(keys);
}

void Display::type(const QString& text) const { xdotool({"type", "--delay", "0", text}); }

void Display::fill(const QStringList& texts) const
{
    QStringList actions;
    for (const QString& text : texts) {
        if (!text.isNull()) {
            actions << "key"
                    << "ctrl+a"
                    << "type"
                    << "--delay"
                    << "0"
                    << "--args"
                    << "1" << text;
        }
        actions << "key"
                << "Tab";
    }
    xdotool(actions);
}

QImage Display::picture() const
{
    QFile file(mFiles.filePath("Xvfb_screen0"));
    file.open(QIODevice::ReadOnly);
    const QByteArray dump = file.readAll();
    const std::array<int, WORDS> words = wordsOf(dump);
    const int start = words[HEADER_SIZE] + words[COLOURS] * kColourSize;
    if (words[HEIGHT] == 0 || dump.size() < start + words[HEIGHT] * words[BYTES_PER_LINE]) {
        return {};
    }
    const auto* pixels = reinterpret_cast<const uchar*>(dump.constData()) + start;
    return QImage(pixels, words[WIDTH], words[HEIGHT], words[BYTES_PER_LINE], QImage::Format_RGB32).copy();
}

void Display::keepPictureOfFailure() const
{
    if (QTest::currentTestFailed()) {
        save(picture(), QStringLiteral("failed-") + QTest::currentTestFunction());
    }
}

ScreenWindow ScreenWindow::named(const Display& display, const QString& title)
{
    ScreenWindow window;
    window.mDisplay = &display;
    window.mTitle = title;
    const QString pattern = QLatin1Char('^') + title + QLatin1Char('$');
    QString id;
    const bool came = Program::waitFor([&] {
        id = display.xdotool({"search", "--onlyvisible", "--name", pattern}).section('\n', -1);
        return !id.isEmpty() && display.focused() == id;
    });
    window.mId = came ? id : QString();
    return window;
}

bool ScreenWindow::waitUntilGone() const
{
    const QString pattern = QLatin1Char('^') + mTitle + QLatin1Char('$');
    return Program::waitFor([&] {
        return !mDisplay->xdotool({"search", "--onlyvisible", "--name", pattern}).split('\n').contains(mId);
    });
}

bool ScreenWindow::waitForFocus() const
{
    return Program::waitFor([&] { return mDisplay->focused() == mId; });
}

void ScreenWindow::click(QPoint point) const
{
    mDisplay->xdotool(
        {"mousemove", "--window", mId, QString::number(point.x()), QString::number(point.y()), "click", "1"});
}

QRect ScreenWindow::geometry() const
{
    // The place of the mouse, put at the window's corner, is that of the corner.
    const QString text = mDisplay->xdotool({"mousemove", "--window", mId, "0", "0", "getmouselocation",
                                            "--shell", "getwindowgeometry", "--shell", mId});
    const auto number = [&](const QString& name) {
        const QRegularExpression line("^" + name + "=(\\d+)$", QRegularExpression::MultilineOption);
        return line.match(text).captured(1).toInt();
    };
    return {number("X"), number("Y"), number("WIDTH"), number("HEIGHT")};
}

QImage ScreenWindow::content() const { return mDisplay->picture().copy(geometry()); }

QImage ScreenWindow::titleBar() const
{
    const QRect content = geometry();
    return mDisplay->picture().copy(content.x(), content.y() - kFrame.top(), content.width(), kFrame.top());
}

QImage ScreenWindow::restingPicture() const
{
    const QRect part = geometry().marginsAdded(kFrame);
    const QSize screen = mDisplay->picture().size();
    mDisplay->xdotool({"mousemove", QString::number(screen.width()), QString::number(screen.height())});
    QImage seen;
    QElapsedTimer timer;
    timer.start();
    Program::waitFor([&] {
        const QImage now = mDisplay->picture().copy(part);
        if (now != seen) {
            seen = now;
            timer.restart();
        }
        return timer.hasExpired(kMinIntervalMs);
    });
    return seen;
}

bool ScreenWindow::keepPicture(const QString& name) const { return save(restingPicture(), name); }
