#include "zulobj/objclient.h"

#include <string>
#include <utility>

#include "zullink/linkclient.h"

cObjectClient::cObjectClient(const Settings& settings)
    : cWlog("zulobj.client"),
      mLink(std::make_unique<cLinkClient>(settings, *this, [this](const WMsg& message) { deliver(message); }))
{}

cObjectClient::~cObjectClient() = default;

void cObjectClient::addListener(cObjectListener* listener)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mListeners.push_back(listener);
}

void cObjectClient::deliver(const WMsg& message)
{
    if (mReceived.size() > kMaxKeptRecords) {
        mReceived.deleteObjects();
    }
    const WStatus status = mReceived.decode(message);
    if (!status.isOk()) {
        warn(("A message of type " + std::to_string(message.type) + " was not understood: " + status.text())
                 .c_str());
        return;
    }
    std::vector<cObjectListener*> called;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        called = mListeners;
    }
    // No lock is held during a call: a listener may wait for the thread that adds one.
    for (cObjectListener* listener : called) {
        listener->handleObjectAction(&mReceived);
    }
}

void cObjectClient::recordTo(std::shared_ptr<cCaptureFile> file) { mLink->recordTo(std::move(file)); }

void cObjectClient::setDriver(std::function<void()> requestProcessing)
{
    mLink->setDriver(std::move(requestProcessing));
}

int cObjectClient::processIo() { return mLink->processIo(); }

bool cObjectClient::start(const char* address, int port) { return mLink->start(address, port); }

void cObjectClient::stop() { mLink->stop(); }

void cObjectClient::disconnect() { mLink->disconnect(); }

void cObjectClient::finish() { mLink->finish(); }

void cObjectClient::setStateObserver(std::function<void(const sLinkState&)> observer)
{
    mLink->setStateObserver(std::move(observer));
}

sLinkState cObjectClient::state() const { return mLink->state(); }

void cObjectClient::send(cObjectList* list)
{
    WMsg message;
    const WStatus status = list->encode(&message);
    if (!status.isOk()) {
        error(("Not sent: " + status.text()).c_str());
        return;
    }
    const uint8_t type = list->getMsgType();
    mLink->send(std::move(message), type == cObjectList::kSet || type == cObjectList::kRequest);
}

cObjectClient::eMsgStatus cObjectClient::get(cObjectList* request, cObjectList* answer, int timeoutMs)
{
    return this->request(cObjectList::kRequest, request, answer, timeoutMs);
}

cObjectClient::eMsgStatus cObjectClient::set(cObjectList* request, cObjectList* answer, int timeoutMs)
{
    return this->request(cObjectList::kSet, request, answer, timeoutMs);
}

cObjectClient::eMsgStatus cObjectClient::getIndexes(cObjectList* request, cObjectList* answer, int timeoutMs)
{
    cObjectList whole;
    const eMsgStatus status = get(request, &whole, timeoutMs);
    if (status != MSG_OK) {
        return status;
    }
    answer->deleteObjects();
    answer->setMsgType(whole.getMsgType());
    answer->setMsgSeq(whole.getMsgSeq());
    for (cObject* object = whole.first(); object != nullptr; object = whole.next()) {
        answer->add(object->cloneKey());
    }
    return MSG_OK;
}

uint64_t cObjectClient::unmatchedAnswers() const { return mLink->unmatchedAnswers(); }

cObjectClient::eMsgStatus cObjectClient::request(uint8_t type, cObjectList* list, cObjectList* answer,
                                                 int timeoutMs)
{
    list->setMsgType(type);
    WMsg message;
    if (!list->encode(&message).isOk()) {
        return MSG_ERROR;
    }
    WMsg received;
    const cLinkClient::eOutcome outcome = mLink->request(std::move(message), timeoutMs, &received);
    if (outcome == cLinkClient::BUSY) {
        return MSG_BUSY;
    }
    return outcome == cLinkClient::ANSWERED && answer->decode(received).isOk() ? MSG_OK : MSG_ERROR;
}
