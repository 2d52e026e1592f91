// Outputs mirrored to inputs: a loop of wire from each output back to the input of the same number.
//
// Start:   zulserver --port 50000
//          zulbench --device examples/demo.dev --connection examples/local.con --connect \
//                   --script examples/mirror.js
//
// The script reacts to every change of an output, for as long as the program runs. The server sees what it
// sets come back: after "set dout 2 state=high" digital input 2 reports HIGH, and after
// "set aout 1 value=70" a sample of analog input 1 reports 70. An analog value loses its fraction on the way:
// the device shows whole numbers. Outputs without an input of the same number are left out.

function mirrorDigital(port) {
    function mirror() {
        receiver.setDigitalInput_Slot(port, receiver.getDigitalOutputValue(port));
    }
    sender.on("dout", port, mirror);
    mirror(); // what was set before this script began
}

function mirrorAnalog(port) {
    function mirror() {
        // Without this look at the input first, it would report a value again whose fraction alone changed.
        var value = Math.floor(receiver.getOutputSample(port));
        if (value !== receiver.getAnalogInputValue(port)) {
            receiver.setAnalogInput_Slot(port, value);
        }
    }
    sender.on("aout", port, mirror);
    mirror();
}

var digital = Math.min(receiver.getDiscreteOutputCount(), receiver.getDiscreteInputCount());
var analog = Math.min(receiver.getAnalogOutputCount(), receiver.getAnalogInputCount());

for (var port = 1; port <= digital; ++port) {
    mirrorDigital(port);
}
for (port = 1; port <= analog; ++port) {
    mirrorAnalog(port);
}
