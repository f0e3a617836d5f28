#include "orva/sim/Uartcli.h"

#include <cstdio>
#include <stdexcept>

#include "orva/sim/Sandbox.h"

namespace orva::sim {

namespace {

// 81: to device 1; 01 04: LED category; FE before the command; FF ends the frame.
const std::vector<uint8_t> kTakeControl = {0x81, 0x01, 0x04, 0xFE, 0xF9, 0x00, 0xFF};
const std::vector<uint8_t> kReleaseControl = {0x81, 0x01, 0x04, 0xFE, 0xF9, 0x01, 0xFF};
// 06 01 CC 02 00 00 00: set colour CC.
constexpr size_t kSetColorLength = 12;
constexpr size_t kColorCodeIndex = 6;
const uint8_t kSetColorHead[] = {0x81, 0x01, 0x04, 0xFE, 0x06, 0x01};
const uint8_t kSetColorTail[] = {0x02, 0x00, 0x00, 0x00, 0xFF};

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isSetColor(const std::vector<uint8_t>& bytes) {
    if (bytes.size() != kSetColorLength) return false;
    for (size_t i = 0; i < sizeof(kSetColorHead); ++i) {
        if (bytes[i] != kSetColorHead[i]) return false;
    }
    for (size_t i = 0; i < sizeof(kSetColorTail); ++i) {
        if (bytes[kColorCodeIndex + 1 + i] != kSetColorTail[i]) return false;
    }
    return true;
}

std::string hexByte(uint8_t byte) {
    char text[4];
    snprintf(text, sizeof(text), "%02X", byte);
    return text;
}

bool wellFormedVector(const std::vector<std::string>& arguments) {
    static const std::vector<std::string> kBefore = {"-s", "5", "-r", "100", "-H", "-i"};
    static const std::vector<std::string> kAfter = {"-o", "3"};
    if (arguments.size() != kBefore.size() + 1 + kAfter.size()) return false;
    for (size_t i = 0; i < kBefore.size(); ++i) {
        if (arguments[i] != kBefore[i]) return false;
    }
    for (size_t i = 0; i < kAfter.size(); ++i) {
        if (arguments[kBefore.size() + 1 + i] != kAfter[i]) return false;
    }
    return true;
}

std::string quoted(const std::vector<std::string>& arguments) {
    std::string text;
    for (const std::string& argument : arguments) text += (text.empty() ? "\"" : " \"") + argument + "\"";
    return text;
}

}  // namespace

bool decodeUartcliText(const std::string& text, std::vector<uint8_t>& bytes) {
    bytes.clear();
    if (text.empty() || text.size() % 4 != 0) return false;
    for (size_t i = 0; i < text.size(); i += 4) {
        const int high = hexDigit(text[i + 2]);
        const int low = hexDigit(text[i + 3]);
        if (text[i] != '\\' || text[i + 1] != 'x' || high < 0 || low < 0) {
            bytes.clear();
            return false;
        }
        bytes.push_back(static_cast<uint8_t>(high * 16 + low));
    }
    return true;
}

std::string uartcliColorName(uint8_t code) {
    if (code == 0) return "off";
    static const char* const kBits[] = {"red", "green", "blue"};
    std::string name;
    for (unsigned bit = 0; bit < 8; ++bit) {
        if ((code & (1u << bit)) == 0) continue;
        if (!name.empty()) name += "+";
        name += bit < 3 ? kBits[bit] : "bit " + std::to_string(bit);
    }
    return name;
}

UartcliFrame decodeUartcliRun(const std::vector<std::string>& arguments) {
    UartcliFrame frame;
    if (!wellFormedVector(arguments)) {
        frame.kind = UartcliFrame::Kind::BadArguments;
        frame.description = "bad arguments " + quoted(arguments);
        return frame;
    }
    frame.text = arguments[6];
    if (!decodeUartcliText(frame.text, frame.bytes)) {
        frame.kind = UartcliFrame::Kind::Malformed;
        frame.description = "malformed frame text \"" + frame.text + "\"";
        return frame;
    }
    if (frame.bytes == kTakeControl) {
        frame.kind = UartcliFrame::Kind::TakeControl;
        frame.description = "take control";
    } else if (frame.bytes == kReleaseControl) {
        frame.kind = UartcliFrame::Kind::ReleaseControl;
        frame.description = "release control";
    } else if (isSetColor(frame.bytes)) {
        frame.kind = UartcliFrame::Kind::SetColor;
        frame.colorCode = frame.bytes[kColorCodeIndex];
        frame.description = "set colour 0x" + hexByte(frame.colorCode) + " (" + uartcliColorName(frame.colorCode) + ")";
    } else {
        frame.kind = UartcliFrame::Kind::Unknown;
        frame.description = "unknown frame";
        for (const uint8_t byte : frame.bytes) frame.description += " " + hexByte(byte);
    }
    return frame;
}

void registerUartcli(const ProgramOutcome& outcome) {
    registerProgram(kUartcliPath, [outcome](const std::vector<std::string>& arguments) {
        if (!wellFormedVector(arguments)) return ProgramOutcome::exited(kUartcliUsageError);
        return outcome;
    });
}

void registerUartcli(int exitCode) { registerUartcli(ProgramOutcome::exited(exitCode)); }

std::vector<UartcliFrame> uartcliFrames() {
    Sandbox* sandbox = Sandbox::active();
    if (sandbox == nullptr) throw std::logic_error("orva-sim: uartcliFrames needs an active sandbox");
    std::vector<UartcliFrame> frames;
    for (const JournalEntry& entry : sandbox->journal()) {
        if (entry.call != Call::Exec || entry.path != kUartcliPath) continue;
        UartcliFrame frame = decodeUartcliRun(entry.arguments);
        frame.exitCode = static_cast<int>(entry.result);
        frames.push_back(std::move(frame));
    }
    return frames;
}

}  // namespace orva::sim
