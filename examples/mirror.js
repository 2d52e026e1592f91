// Outputs mirrored to inputs: a loop of wire from each output back to the input of the same number.
//
// Start:   zulserver --port 50000
//          zulbench --device examples/demo.dev --connection examples/local.con --connect \
//                   --script examples/mirror.js
//
// The script looks at every output each LOOK milliseconds, for as long as the program runs. The server sees
// what it sets come back: after "set dout 2 state=high" digital input 2 reports HIGH, and after
// "set aout 1 value=70" a sample of analog input 1 reports 70. An analog value loses its fraction on the way:
// the device shows whole numbers. Outputs without an input of the same number are left out.

var LOOK = 100; // milliseconds between two looks

var digital = Math.min(receiver.getDiscreteOutputCount(), receiver.getDiscreteInputCount());
var analog = Math.min(receiver.getAnalogOutputCount(), receiver.getAnalogInputCount());

for (;;) {
    for (var port = 1; port <= digital; ++port) {
        var state = receiver.getDigitalOutputValue(port);
        if (state !== receiver.getDigitalInputValue(port)) {
            receiver.setDigitalInput_Slot(port, state);
        }
    }
    for (port = 1; port <= analog; ++port) {
        // Without this look at the input first, it would report the same value again and again.
        var value = receiver.getAnalogOutputValue(port);
        if (value !== receiver.getAnalogInputValue(port)) {
            receiver.setAnalogInput_Slot(port, value);
        }
    }
    sender.sleep(LOOK);
}
