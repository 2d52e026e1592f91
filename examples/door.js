// A door with a contact and a badge reader. Three people come in; the last one leaves the door open.
//
// Start:   zulserver --port 50000
//          zulbench --device examples/demo.dev --connection examples/local.con --connect \
//                   --script examples/door.js
//
// The badge reader. The device pairs its scanners in a way of its own:
//   - The button in the row of scanner n stores that row's code in the record of scanner n,
//     but what it reports is the record of scanner n + 1, with the code that was last stored there.
//   - The button of the last scanner has no next record to report: it ends the program.
// So a good scan takes two presses. The first types the badge into the row of scanner 2: the record of
// scanner 2 now has the code, and the record of scanner 3 goes out. The second presses scanner 1's button,
// and the record of scanner 2 goes out, badge and all. The button of scanner 3, the last one of demo.dev, is
// never pressed. A device for this script needs three scanners.
//
// The server sees, for each of the three people:
//   1. an access event of port 3 without a scan code: leave it aside. No button that may be pressed stores
//      a code there;
//   2. an access event of port 2 with the badge as its scan code;
//   3. digital input 1 HIGH, the door is open, then LOW, it is closed. The last time LOW stays away, and the
//      ad-hoc event 7, "door", "held open" comes in its place.
//
// The first event without a scan code also ends the device's trace on standard output. The link is not
// concerned: every event still reaches the server.

var SECOND = 1000; // milliseconds
var DOOR = 1;
var READER = 2;
var HELD_OPEN = 7;
var BADGES = ["4711-ANNA", "4712-BORIS", "4713-CHLOE"];

function present(badge) {
    sender.scan(READER, badge);
    sender.scan(READER - 1, "");
}

function setDoor(open) {
    receiver.setDigitalInput_Slot(DOOR, open ? 1 : 0);
}

for (var i = 0; i < BADGES.length; ++i) {
    present(BADGES[i]);
    setDoor(true);
    sender.sleep(3 * SECOND);
    if (i + 1 < BADGES.length) {
        setDoor(false);
        sender.sleep(5 * SECOND);
    }
}
sender.adhoc(HELD_OPEN, "door", "held open");
