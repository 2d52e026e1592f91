#include "simulatorwindow.h"

#include <QDir>
#include <QFile>

namespace {

// Where things stand in the window as the program opens it.
constexpr QPoint kMenus[] = {{18, 10}, {54, 10}, {102, 10}};
constexpr QPoint kConnect{45, 36};
constexpr int kTabLine = 64;
constexpr int kFirstTab = 12; // also where the other tabs are scrolled out of sight
constexpr int kTabs[] = {52, 162, 274, 387, 571, 824, 1006, 1075};
constexpr int kRowMargin = 14; // left of every text of a row
constexpr int kPageTop = 80;
constexpr QPoint kFirstInput{920, 127};
constexpr QPoint kFirstScanCode{556, 127};
constexpr QPoint kFirstScan{955, 127};
constexpr int kRowHeight = 47;
constexpr QPoint kSendAdHoc{1045, 136};

QPoint inRow(int number, QPoint first) { return first + QPoint(0, (number - 1) * kRowHeight); }

QString colourName(QRgb colour)
{
    if (colour == qRgb(0, 255, 0)) {
        return "green";
    }
    return colour == qRgb(255, 0, 0) ? "red" : QString();
}

} // namespace

SimulatorWindow::SimulatorWindow(const Display& display) : mDisplay(display) { display.take(&mProgram); }

void SimulatorWindow::start(const QStringList& arguments)
{
    mProgram.start(ZULBENCH_PROGRAM, arguments);
    mWindow = ScreenWindow::named(mDisplay, "Main menu");
    if (!mWindow.isOpen()) {
        qWarning("%s", mProgram.errors().constData());
    }
}

QString SimulatorWindow::pathOf(const QString& name) const
{
    return mProgram.home() + QStringLiteral("/.zulbench/") + name;
}

QStringList SimulatorWindow::fileNames() const
{
    return QDir(pathOf({})).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QByteArray SimulatorWindow::file(const QString& name) const
{
    QFile file(pathOf(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void SimulatorWindow::choose(Menu menu, const QStringList& keys) const
{
    mWindow.waitForFocus();
    mWindow.click(kMenus[menu]);
    mDisplay.press(keys);
}

void SimulatorWindow::showPage(Page page) const
{
    mWindow.click({kFirstTab, kTabLine});
    mWindow.click({kTabs[page], kTabLine});
}

void SimulatorWindow::clickConnect() const { mWindow.click(kConnect); }

void SimulatorWindow::chooseState(int input, const QString& key) const
{
    mWindow.click(inRow(input, kFirstInput));
    mDisplay.press({key, "Return"});
}

void SimulatorWindow::clickScanCode(int scanner) const { mWindow.click(inRow(scanner, kFirstScanCode)); }
void SimulatorWindow::sendScan(int scanner) const { mWindow.click(inRow(scanner, kFirstScan)); }
void SimulatorWindow::sendAdHocEvent() const { mWindow.click(kSendAdHoc); }

QStringList SimulatorWindow::rows() const
{
    const QImage content = mWindow.content();
    QStringList colours;
    QString last;
    for (int y = kPageTop; y < content.height(); ++y) {
        const QString colour = colourName(content.pixel(kRowMargin, y));
        if (!colour.isEmpty() && colour != last) {
            colours.append(colour);
        }
        last = colour;
    }
    return colours;
}

bool SimulatorWindow::waitForRows(const QStringList& colours) const
{
    return Program::waitFor([&] { return rows() == colours; });
}

int SimulatorWindow::close()
{
    mWindow.waitForFocus();
    mDisplay.press("alt+F4");
    return mProgram.waitForEnd();
}
