#pragma once

#include <QByteArray>
#include <QStringList>

#include "display.h"
#include "programs.h"

/// zulbench with its window on a display, as an operator finds it.
class SimulatorWindow
{
public:
    enum Menu
    {
        FILE_MENU,
        EDIT_MENU,
        SCRIPTS_MENU
    };
    enum Page
    {
        DINS,
        DOUTS,
        AINS,
        AOUTS,
        DIGITAL_WIRING,
        ANALOG_WIRING,
        ACCESS,
        ADHOC,
        PAGES
    };

    /// Starts the program and waits for the window.
    explicit SimulatorWindow(const Display& display);
    void start(const QStringList& arguments = {});

    const ScreenWindow& window() const { return mWindow; }
    bool isOpen() const { return mWindow.isOpen(); }
    Program& program() { return mProgram; }

    /// The files of the configuration directory.
    QStringList fileNames() const;
    QByteArray file(const QString& name) const;
    QString pathOf(const QString& name) const;

    /// Opens the menu with the mouse and presses @p keys in it.
    void choose(Menu menu, const QStringList& keys) const;

    /// Puts the page in front with the mouse.
    void showPage(Page page) const;

    void clickConnect() const;

    /// Sets the digital input of this 1-based number: the mouse opens its list, @p key chooses.
    void chooseState(int input, const QString& key) const;

    /// Clicks into the scan code of the scanner of this 1-based number, and on its "Send Event".
    void clickScanCode(int scanner) const;
    void sendScan(int scanner) const;

    /// Clicks on "Send Event" of the page of ad-hoc events.
    void sendAdHocEvent() const;

    /// The colours of the rows of the page in front, from the top.
    QStringList rows() const;
    bool waitForRows(const QStringList& colours) const;

    /// Closes the window as an operator does and returns the exit status.
    int close();

private:
    const Display& mDisplay;
    Program mProgram;
    ScreenWindow mWindow;
};
