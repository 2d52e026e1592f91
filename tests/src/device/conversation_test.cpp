#include "plainconversation.h"

#include <sstream>

#include "caccess.h"
#include "cainput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

namespace {

/// A device with a window, and with a server on loopback, for a conversation.
class WindowConversation : public ConversationDevice
{
public:
    explicit WindowConversation(const Conversation& conversation)
    {
        const zuldevice::Counts counts = conversation.counts();
        std::string label = conversation.label();
        mDevice = std::make_unique<cDevice>(counts.digitalInputs, counts.digitalOutputs, counts.analogInputs,
                                            counts.analogOutputs, counts.scanners, label.data(), "",
                                            conversation.version(), conversation.serial());
    }

    bool connect() { return connectTo(*mDevice, mServer); }
    QByteArray trace() const { return mConsole.text(); }

    void receive(const cObjectList& list) override { mServer.send(list, 1); }
    void setDigitalInput(int port, int value) override { mDevice->setDigitalInput_Slot(port, value); }
    void setAnalogInput(int port, int value) override { mDevice->setAnalogInput_Slot(port, value); }
    void connectDigitalInput(int input, int output) override
    {
        mDevice->connectDigitalInput_Slot(input, output, true);
    }
    void connectAnalogInput(int input, int output) override
    {
        mDevice->connectAnalogInput_Slot(input, output, true);
    }
    void scan(int scanner, const char* code) override
    {
        // A row's button would report the next scanner.
        panelview::row<cAccess>(*mDevice, panelview::ACCESS, scanner)->setScanCode(code);
        mDevice->accesEvnt(scanner - 1);
    }
    void adhoc(int id, const char* label, const char* value) override
    {
        mDevice->adhoc(id, QString::fromUtf8(label), QString::fromUtf8(value));
    }
    void takeSamples(time_t now) override
    {
        for (QWidget* row : panelview::rows(*mDevice, panelview::ANALOG_INPUTS)) {
            dynamic_cast<cAInput*>(row)->checkSample(now);
        }
    }

    std::unique_ptr<cObjectList> next() override { return std::move(mServer.next().list); }

    bool hasMore() override
    {
        // The answer to this comes after everything else.
        cObjectList last;
        last.setMsgType(cObjectList::kRequest);
        receive(last);
        const TestServer::Received received = mServer.next();
        return received.list == nullptr || received.event || received.size() > 0 ||
               !mServer.received().empty();
    }

private:
    ConsoleCapture mConsole;
    TestServer mServer;
    std::unique_ptr<cDevice> mDevice;
};

} // namespace

class TestConversation : public QObject
{
    Q_OBJECT

private slots:
    void theWindowSendsTheRecordedBytes();
    void theWindowWritesTheTraceOfADeviceWithoutOne();
};

void TestConversation::theWindowSendsTheRecordedBytes()
{
    const Conversation conversation(CONVERSATION);
    QVERIFY(conversation.size() > 100);
    WindowConversation window(conversation);
    QVERIFY(window.connect());
    QCOMPARE(QString::fromStdString(conversation.playTo(&window)), QString());
}

void TestConversation::theWindowWritesTheTraceOfADeviceWithoutOne()
{
    const Conversation conversation(CONVERSATION);
    WindowConversation window(conversation);
    QVERIFY(window.connect());
    conversation.playTo(&window);
    std::ostringstream trace;
    PlainConversation plain(conversation, trace);
    conversation.playTo(&plain);
    QVERIFY(trace.str().size() > 1000);
    QCOMPARE(window.trace(), QByteArray::fromStdString(trace.str()));
}

ZUL_QTEST(TestConversation)
#include "conversation_test.moc"
