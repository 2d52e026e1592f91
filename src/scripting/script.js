// A sample to start from. It defines two functions and calls neither: add a line that calls one.

// Prints what the first port of each kind holds.
function displayPorts() {
    print("Digital input: " + receiver.getDigitalInputValue(1));
    print("Analog input: " + receiver.getAnalogInputValue(1));
    print("Digital output: " + receiver.getDigitalOutputValue(1));
    print("Analog output: " + receiver.getAnalogOutputValue(1));
}

// Wires input 1 of each kind to outputs 2, 3 and 4, then sets both inputs.
function connectAndSet() {
    sender.connectDigitalInput_Signal.connect(receiver.connectDigitalInput_Slot);
    sender.connectAnalogInput_Signal.connect(receiver.connectAnalogInput_Slot);
    sender.connectDigitalInput_Signal(1, 2, true);
    sender.connectDigitalInput_Signal(1, 3, true);
    sender.connectDigitalInput_Signal(1, 4, true);
    sender.connectAnalogInput_Signal(1, 2, true);
    sender.connectAnalogInput_Signal(1, 3, true);
    sender.connectAnalogInput_Signal(1, 4, true);

    sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);
    sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);
    sender.setDigitalInput_Signal(1, 1);
    sender.setAnalogInput_Signal(1, 100);
}
