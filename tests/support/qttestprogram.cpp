#include "qttestmain.h"

int main(int argc, char** argv) { return cQtTestCase::runNamed(argc, argv); }
