// A random walk on analog input 2, for as long as the program runs.
//
// Start:   zulserver --port 50000
//          zulbench --device examples/demo.dev --connection examples/local.con --connect \
//                   --script examples/randomwalk.js
//
// The server sees a sample of port 2 every STEP milliseconds. With the seed 2024 the values are
// 45, 49, 44, 46, 41, 44, 43, 39, 35, 31 and so on, the same at every start. Another seed gives another
// walk. Math.random() would do as well where nothing needs to be repeated.

var STEP = 1000; // milliseconds between two samples
var SEED = 2024; // 1 to 2147483646
var PORT = 2;
var LARGEST_MOVE = 5;

// The next number of the sequence that the seed begins.
function nextRandom() {
    SEED = SEED * 16807 % 2147483647;
    return SEED;
}

// A whole number from -LARGEST_MOVE to LARGEST_MOVE.
function nextMove() {
    return nextRandom() % (2 * LARGEST_MOVE + 1) - LARGEST_MOVE;
}

for (var value = 50; ;) {
    value = Math.max(0, Math.min(100, value + nextMove()));
    receiver.setAnalogInput_Slot(PORT, value);
    sender.sleep(STEP);
}
