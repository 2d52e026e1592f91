// A day of a site, told by a timetable: light, ventilation, temperature, and a note at the end.
//
// Start:   zulserver --port 50000
//          zulbench --device examples/demo.dev --connection examples/local.con --connect \
//                   --script examples/timetable.js
//
// The server sees one event for each row, in this order: digital input 3 HIGH (light), samples 18 and 21 of
// analog input 1 (temperature), digital input 4 HIGH and LOW (ventilation), the sample 19, digital input 3
// LOW, and the ad-hoc event 1, "timetable", "the day is over". An hour takes HOUR milliseconds, so the day
// is over after ten seconds. The script ends with it, the device stays.

var HOUR = 1000; // milliseconds

function digital(port, value) {
    return function () { receiver.setDigitalInput_Slot(port, value); };
}

function analog(port, value) {
    return function () { receiver.setAnalogInput_Slot(port, value); };
}

function note(text) {
    return function () { sender.adhoc(1, "timetable", text); };
}

// The hour since the start, and what happens then. The rows stand in the order of time.
var TIMETABLE = [
    [0, digital(3, 1)],
    [1, analog(1, 18)],
    [3, analog(1, 21)],
    [4, digital(4, 1)],
    [6, digital(4, 0)],
    [8, analog(1, 19)],
    [9, digital(3, 0)],
    [10, note("the day is over")]
];

var now = 0;
for (var i = 0; i < TIMETABLE.length; ++i) {
    sender.sleep((TIMETABLE[i][0] - now) * HOUR);
    now = TIMETABLE[i][0];
    TIMETABLE[i][1]();
}
