// orva-gpio: drives the LED faces, buttons and detectors of the library on the board it runs on or on
// a simulated board, and shows what reached the kernel. Every command registers itself from its own
// file (CommandRegistry.h).
#include "CommandLine.h"

int main(int argc, char** argv) { return orva::tool::runCommandLine(argc, argv); }
