#include "zulobj/objclient.h"

#include <optional>
#include <string>
#include <utility>

#include "zullink/linkclient.h"
#include "zulobj/eventpump.h"

struct cObjectClient::sLink
{
    sLink(const Settings& settings, const cWlog& log)
        : client(settings, log, [this, &log](const LinkSession::Received& received) {
              const WStatus status = pump.deliver(received);
              if (!status.isOk()) {
                  log.warn(("A message of type " + std::to_string(received.message.type) +
                            " was not understood: " + status.text())
                               .c_str());
              }
          })
    {}

    cEventPump pump;
    cLinkClient client;
};

cObjectClient::cObjectClient(const Settings& settings)
    : cWlog("zulobj.client"), mLink(std::make_unique<sLink>(settings, *this))
{}

cObjectClient::~cObjectClient() = default;

void cObjectClient::addListener(cObjectListener* listener) { mLink->pump.addListener(listener); }

void cObjectClient::recordTo(std::shared_ptr<cCaptureFile> file) { mLink->client.recordTo(std::move(file)); }

void cObjectClient::setDriver(cLinkDriver* driver) { mLink->client.setDriver(driver); }

int cObjectClient::processIo() { return mLink->client.processIo(); }

bool cObjectClient::start(const char* address, int port) { return mLink->client.start(address, port); }

void cObjectClient::stop() { mLink->client.stop(); }

void cObjectClient::send(cObjectList* list)
{
    WMsg message;
    const WStatus status = list->encode(&message);
    if (!status.isOk()) {
        error(("Not sent: " + status.text()).c_str());
        return;
    }
    const uint8_t type = list->getMsgType();
    const bool mayAnswer = type == cObjectList::kSet || type == cObjectList::kRequest;
    mLink->client.send(std::move(message), mayAnswer ? mLink->pump.tokenFor(type) : std::nullopt);
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

uint64_t cObjectClient::unmatchedAnswers() const { return mLink->client.unmatchedAnswers(); }

cObjectClient::eMsgStatus cObjectClient::request(uint8_t type, cObjectList* list, cObjectList* answer,
                                                 int timeoutMs)
{
    list->setMsgType(type);
    WMsg message;
    if (!list->encode(&message).isOk()) {
        return MSG_ERROR;
    }
    WMsg received;
    switch (mLink->client.request(std::move(message), timeoutMs, &received)) {
    case cLinkClient::ANSWERED:
        return answer->decode(received).isOk() ? MSG_OK : MSG_ERROR;
    case cLinkClient::BUSY:
        return MSG_BUSY;
    default:
        return MSG_ERROR;
    }
}
