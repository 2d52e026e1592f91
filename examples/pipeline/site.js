// The gate, while commands.txt looks at it from the server's side. ./run starts both.
//
// What the script itself finds out goes to the server too, as an ad-hoc event with the verdict: the commands
// expect it.

var GATE = 1; // digital input
var LAMP = 1; // digital output
var LOAD = 1; // analog input
var VERDICT = 1; // ad-hoc event

function check(holds, what) {
    if (!holds) {
        throw "failed: " + what;
    }
}

/// Until the server has lit the lamp, for ten seconds at most.
function waitForLamp() {
    for (var i = 0; i < 200 && receiver.getDigitalOutputValue(LAMP) !== 1; ++i) {
        sender.sleep(50);
    }
    check(receiver.getDigitalOutputValue(LAMP) === 1, "the lamp stays dark");
}

function main() {
    check(receiver.getDiscreteInputCount() === 4, "the number of inputs");
    receiver.setDigitalInput_Slot(GATE, 1);
    receiver.setAnalogInput_Slot(LOAD, 75);
    waitForLamp();
    receiver.setDigitalInput_Slot(GATE, 0);
    check(receiver.getDigitalInputValue(GATE) === 0, "the gate stays open");
}

try {
    main();
    sender.adhoc(VERDICT, "site.js", "passed");
} catch (e) {
    sender.adhoc(VERDICT, "site.js", String(e));
}
