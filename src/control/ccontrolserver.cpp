#include "ccontrolserver.h"

#include <QElapsedTimer>
#include <algorithm>

#include "ccontrolled.h"
#include "cdevice.h"
#include "scriptevent.h"
#include "scriptline.h"
#include "zulcommand/controllines.h"

namespace {

/// After this time the event loop handles other events first.
constexpr int kTimeSliceMs = 5;

std::string textOf(const zulcommand::JsonPtr& line)
{
    return zulcommand::lineText(line, std::chrono::system_clock::now());
}

} // namespace

cControlServer::~cControlServer()
{
    if (mObserving && mControlled->device() != nullptr) {
        mControlled->device()->removeObserver(this);
    }
}

std::string cControlServer::makeSocket(const std::string& path)
{
    std::string problem;
    mSocket = cControlSocket::make(path, &problem);
    if (mSocket) {
        mSocket->onClient = [this](int fd) { add(fd); };
        connect(&mNext, &QTimer::timeout, this, [this] { runCommands(); });
    }
    return problem;
}

void cControlServer::add(int fd)
{
    auto client = std::make_unique<Client>(fd, mControlled);
    cControlConnection& connection = client->connection;
    cControlRunner& runner = client->runner;
    const auto next = [this] { mNext.start(0); };
    connection.onLine = [&runner](const std::string& line) { runner.submit(line); };
    connection.onChanged = next;
    runner.onReply = [&connection](const zulcommand::JsonPtr& line) { connection.writeLine(textOf(line)); };
    runner.onReady = next;
    runner.onQuit = [this] { mQuit = true; };
    mClients.push_back(std::move(client));
    if (!std::exchange(mObserving, true)) {
        mControlled->device()->addObserver(this);
    }
}

/// Each client gets a turn, and the first of them is another one each time.
void cControlServer::runCommands()
{
    QElapsedTimer timer;
    timer.start();
    bool moreToDo = false;
    const size_t count = mClients.size();
    for (size_t i = 0; i < count; ++i) {
        moreToDo = runCommands(*mClients[(mTurn + i) % count],
                               [&timer] { return timer.hasExpired(kTimeSliceMs); }) ||
                   moreToDo;
    }
    ++mTurn;
    removeEnded();
    if (mQuit) {
        emit quitRequested();
    } else if (moreToDo) {
        mNext.start(0);
    }
}

/// One command at least. Returns true if the client has more that could be run.
bool cControlServer::runCommands(Client& client, const std::function<bool()>& timeIsOver)
{
    cControlRunner& runner = client.runner;
    do {
        runner.runNext();
    } while (!runner.isRunning() && !runner.isIdle() && !timeIsOver());
    client.connection.setReading(!runner.full());
    client.connection.flush();
    return !runner.isRunning() && !runner.isIdle();
}

void cControlServer::removeEnded()
{
    std::erase_if(mClients, [](const std::unique_ptr<Client>& client) {
        const cControlConnection& connection = client->connection;
        return connection.isBroken() ||
               (connection.inputEnded() && client->runner.isIdle() && !connection.hasOutput());
    });
    if (mClients.empty() && std::exchange(mObserving, false)) {
        mControlled->device()->removeObserver(this);
    }
}

void cControlServer::writeLine(const zulcommand::JsonPtr& line)
{
    const std::string text = textOf(line);
    for (const auto& client : mClients) {
        client->connection.writeLine(text);
    }
}

void cControlServer::setReceived(cObjectList& message)
{
    for (cObject* object = message.first(); object != nullptr; object = message.next()) {
        writeLine(controllines::setLine(*object));
        cObjectList single;
        single.setMsgType(message.getMsgType());
        single.addBorrowed(object);
        WMsg encoded;
        if (single.encode(&encoded).isOk()) {
            std::ranges::for_each(mClients, [&](auto& client) { client->runner.setReceived(encoded); });
        }
    }
}

void cControlServer::portChanged(const cObjectPort& port)
{
    writeLine(controllines::changedLine(mControlled->device()->objectOf(port)));
    std::ranges::for_each(mClients, [&](auto& client) { client->runner.update(); });
}

void cControlServer::linkChanged(const sLinkState& state)
{
    writeLine(controllines::linkLine(state));
    std::ranges::for_each(mClients, [&](auto& client) { client->runner.update(); });
}

void cControlServer::scriptChanged(const sScriptEvent& event)
{
    if (mClients.empty()) {
        return;
    }
    writeLine(scriptLine(event));
    std::ranges::for_each(mClients, [&](auto& client) { client->runner.scriptChanged(event); });
}

void cControlServer::stepDone(const zulcommand::JsonPtr& line)
{
    if (!mClients.empty()) {
        writeLine(line);
    }
}

void cControlServer::deviceReplaced()
{
    if (mObserving) {
        mControlled->device()->addObserver(this);
        std::ranges::for_each(mClients, [](auto& client) { client->runner.update(); });
    }
}
