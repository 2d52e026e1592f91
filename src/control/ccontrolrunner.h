#pragma once

#include <QTimer>
#include <chrono>
#include <optional>
#include <string>

#include "zulcommand/controlcommand.h"
#include "zulcommand/eventsearch.h"
#include "zulcommand/linerunner.h"

class cControlled;
struct sScriptEvent;

/// Runs the commands of one client of the control socket, one after the other.
class cControlRunner : public zulcommand::LineRunner
{
public:
    /// @p controlled is borrowed.
    explicit cControlRunner(cControlled* controlled);

    bool isRunning() const override { return mRun.has_value(); }

    // What happens. The running command may end by it; the next one is not run.

    /// The server has sent @p message, a set of one object.
    void setReceived(WMsg message);
    void scriptChanged(const sScriptEvent& event);

    /// A port, the link or the device has changed.
    void update();

private:
    using Reply = zulcommand::Reply;
    using Clock = std::chrono::steady_clock;

    struct Run
    {
        explicit Run(std::string line) : text(std::move(line)) {}

        const std::string text;
        sControlCommand command;
        Clock::time_point begun = Clock::now();
        zulcommand::EventSearch search;
        uint64_t script = 0; ///< the number of the script that was started
        size_t answers = 0;  ///< that were not as expected
        Reply lastAnswer;    ///< the last of them
    };

    void begin(std::string text) override;
    void execute();
    Reply get() const;
    void look();
    void expectGet();
    void lookForEvent();
    void checkLink();
    void startScript();
    void connect();

    /// Has the command answered when @p error is no mistake.
    void endWith(const std::string& error);
    void timeUp();
    void end(const Reply& reply);

    cControlled* mControlled;
    zulcommand::MessageLog mLog;
    std::optional<Run> mRun;
    bool mBeginning = false; ///< the running command is in execute()
    QTimer mTimer;
};
