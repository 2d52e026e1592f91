// A sine on analog input 1, for as long as the program runs.
//
// Start:   zulserver --port 50000
//          zulbench --device examples/demo.dev --connection examples/local.con --connect \
//                   --script examples/sine.js
//
// The server sees a sample of port 1 every STEP milliseconds, as if somebody moved the slider:
// 50, 54, 58, 62, 66, 70 and so on up to 90, down to 10, and back to 50 after 60 samples. At the crest and
// in the trough the same value comes several times: an analog input reports every value that a script sets.

var STEP = 1000; // milliseconds between two samples
var PORT = 1;
var MIDDLE = 50; // a slider goes from 0 to 100
var HEIGHT = 40;
var SAMPLES = 60; // in one turn

for (var i = 0; ; i = (i + 1) % SAMPLES) {
    var value = Math.round(MIDDLE + HEIGHT * Math.sin(2 * Math.PI * i / SAMPLES));
    receiver.setAnalogInput_Slot(PORT, value);
    sender.sleep(STEP);
}
