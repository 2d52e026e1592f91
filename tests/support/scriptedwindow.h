#pragma once

#include <QLineEdit>

#include "cadhoc.h"
#include "homefiles.h"
#include "mainwindow.h"
#include "panelview.h"
#include "testdevice.h"

/// The text of a device file.
inline QByteArray deviceText(const Counts& counts)
{
    const auto line = [](const char* key, uint32_t value) { return key + QByteArray::number(value) + '\n'; };
    return line("Digital input(s):    ", counts.dins) + line("Digital output(s):   ", counts.douts) +
           line("Analog input(s):     ", counts.ains) + line("Analog output(s):    ", counts.aouts) +
           line("Scanner(s):          ", counts.scanners) +
           "Device type:         TYPE_DISCRETE_IO\nDevice version:      3\n"
           "Device serial:       1001\nDevice label:        Panel\n";
}

/// Enough of each kind of port for most scripts.
constexpr Counts kScriptedCounts{4, 4, 4, 4, 3};

/// A script that tells the error that @p call throws.
inline QByteArray errorOf(const QByteArray& call)
{
    return "try { " + call + "; tell('nothing'); } catch (e) { tell(e); }";
}

/// A window with a device that scripts are run against.
class ScriptedWindow
{
public:
    explicit ScriptedWindow(const Counts& counts) : mWindow(std::make_unique<MainWindow>()) { load(counts); }

    void load(const Counts& counts)
    {
        if (!mWindow->openDeviceFile(mHome.write("test.dev", deviceText(counts)))) {
            qFatal("the device file cannot be opened");
        }
    }

    MainWindow& window() { return *mWindow; }
    cDevice& device() { return *mWindow->device(); }
    void destroyWindow() { mWindow.reset(); }

    /// Runs @p script, which may call tell(what) to say what it found.
    void run(const QByteArray& script)
    {
        const QByteArray tell = "function tell(what) { sender.adhoc(99, 'told', String(what)); } ";
        if (!mWindow->runScript(mHome.write(QString("script%1.js").arg(++mScripts), tell + script))) {
            qFatal("the script cannot be opened");
        }
    }

    /// What a script told last; empty before that.
    QString told()
    {
        const auto* editor = panelview::row<cAdHocEvent>(device(), panelview::ADHOC, 1);
        return editor->findChildren<QGroupBox*>().at(2)->findChild<QLineEdit*>()->text();
    }

    HomeFiles& home() { return mHome; }

private:
    HomeFiles mHome;
    ConsoleCapture mConsole;
    std::unique_ptr<MainWindow> mWindow;
    int mScripts = 0;
};
