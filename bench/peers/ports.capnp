@0xb3d6a0f1c2e44d57;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("peers::capnproto");

struct Input {
  deviceSerial @0 :UInt32;
  portId @1 :UInt32;
  portStatus @2 :UInt32;
  portType @3 :UInt32;
  inputState @4 :UInt32;
  defaultState @5 :UInt32;
}

struct Inputs {
  inputs @0 :List(Input);
}
