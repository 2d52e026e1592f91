#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QRect>
#include <QStringList>
#include <QTemporaryDir>

class Program;

/// A display that exists in memory only, with a window manager, a mouse and a keyboard.
///
/// Mouse and keys are those of the X server, so a program can't tell them from an operator's.
class Display
{
public:
    /// Is up when it returns, or never.
    Display();
    ~Display();
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    bool isUp() const { return !mName.isEmpty(); }

    /// Makes @p program open its windows here, with the fonts and the style that the tests know.
    void take(Program* program) const;

    /// Presses keys one after the other, such as "Down" or "ctrl+a".
    void press(const QStringList& keys) const;
    void press(const QString& key, int times = 1) const;

    /// Presses the keys that write @p text.
    void type(const QString& text) const;

    /// Replaces the text of the control that has the focus by each text in turn, and goes to the next control
    /// by Tab. A null text leaves its control as it is.
    void fill(const QStringList& texts) const;

    /// The window that keys go to; empty if none.
    QString focused() const { return xdotool({"getwindowfocus"}); }

    /// What is seen now.
    QImage picture() const;

    /// Keeps the picture of what is seen if a test has failed, beside the tests' other pictures.
    void keepPictureOfFailure() const;

    /// Runs xdotool and returns what it printed, trimmed; empty if it failed.
    QString xdotool(const QStringList& arguments) const;

private:
    QProcessEnvironment environment() const;
    void writeFontList() const;
    void report(const QString& program) const;

    QTemporaryDir mFiles;
    QProcess mServer;
    QProcess mWindowManager;
    QString mName;
};

/// A window on such a display. Points are its own, from the corner below the title bar.
class ScreenWindow
{
public:
    ScreenWindow() = default;

    /// The window that bears this title, as soon as it is there, is drawn and gets the keys. One that is not
    /// open when it does not come.
    static ScreenWindow named(const Display& display, const QString& title);

    bool isOpen() const { return !mId.isEmpty(); }
    const QString& id() const { return mId; }
    const QString& title() const { return mTitle; }

    /// Waits until it is gone.
    bool waitUntilGone() const;

    /// Waits until keys go to it.
    bool waitForFocus() const;

    void click(QPoint point) const;

    /// Its content as it is seen now, without the title bar.
    QImage content() const;

    /// Its title bar as it is seen now.
    QImage titleBar() const;

    /// Keeps a picture of it, title bar and all, as NAME.png: in the folder that the environment variable
    /// ZUL_PICTURES names, else beside the tests' programs. The mouse goes out of the way for it.
    bool keepPicture(const QString& name) const;

private:
    QRect geometry() const;
    QImage restingPicture() const;

    const Display* mDisplay = nullptr;
    QString mId;
    QString mTitle;
};
