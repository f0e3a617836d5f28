// Stand-in for the microcontroller tool "/usr/bin/uartcli". The tool takes a frame as text in which
// every byte is a backslash, "x" and two hex digits, and sends the bytes to the microcontroller.
// The stand-in checks the argument vector ("-s" "5" "-r" "100" "-H" "-i" FRAME "-o" "3"), turns the
// text into bytes and decodes the LED frames, so that tests and tools can say in words what the
// microcontroller was told: "take control", "release control", "set colour 0x01 (red)", or
// "unknown frame 81 01 ...".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orva/sim/Programs.h"

namespace orva::sim {

constexpr char kUartcliPath[] = "/usr/bin/uartcli";

// Exit status of a run whose argument vector is not the one the tool expects.
constexpr int kUartcliUsageError = 2;

struct UartcliFrame {
    enum class Kind { TakeControl, ReleaseControl, SetColor, Unknown, Malformed, BadArguments };
    Kind kind = Kind::Unknown;
    std::string text;            // the frame text as passed after "-i" ("" without one)
    std::vector<uint8_t> bytes;  // the bytes the text stands for
    uint8_t colorCode = 0;       // SetColor: the colour bit mask
    int exitCode = 0;            // what the run reported (-1: not started or killed)
    std::string description;     // in words, as above
};

// "\x81\x01" -> {0x81, 0x01}. False when the text is anything but such groups.
bool decodeUartcliText(const std::string& text, std::vector<uint8_t>& bytes);

// Decodes one argument vector as the tool would receive it.
UartcliFrame decodeUartcliRun(const std::vector<std::string>& arguments);

// The colour bits in words: "red", "green", "blue", joined with "+"; 0 is "off".
std::string uartcliColorName(uint8_t code);

// Registers the stand-in in the active sandbox (std::logic_error without one): every run with the
// expected argument vector exits with exitCode, any other vector with kUartcliUsageError.
void registerUartcli(int exitCode = 0);
// The same with a chosen outcome for well-formed runs (e.g. ProgramOutcome::notStarted(ENOENT)).
void registerUartcli(const ProgramOutcome& outcome);

// Every run of the tool in the active sandbox's journal, decoded, oldest first.
std::vector<UartcliFrame> uartcliFrames();

}  // namespace orva::sim
