// MDIO of the active sandbox's network interfaces. While a sandbox is alive, the MII ioctls
// (SIOCGMIIPHY, SIOCGMIIREG, SIOCSMIIREG) are answered from PHY registers kept with the sandbox,
// so nothing reaches a real network interface; every other ioctl goes to libc.
//
// Each MII ioctl is journaled as Call::Mdio: path = interface, flags = the request, fd = the socket,
// offset = register number, count = the register value read or written (for SIOCGMIIPHY the PHY
// address), result and error as the ioctl returned them. An interface the sandbox does not know
// answers ENODEV, like a missing device.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orva/sim/Sandbox.h"

namespace orva::sim {

// One MII request as the journal holds it.
struct MdioAccess {
    enum class Kind { Init, Read, Write };
    Kind kind = Kind::Init;
    std::string interface;
    unsigned reg = 0;    // Read/Write: register number
    unsigned value = 0;  // Read: value returned; Write: value written; Init: PHY address
    int result = 0;      // the ioctl's return value
    int error = 0;       // errno when it failed
};

bool operator==(const MdioAccess& a, const MdioAccess& b);
std::string describe(const MdioAccess& access);

class Mdio {
public:
    // Every operation works on the active sandbox and throws std::logic_error without one.

    // An interface whose PHY answers at address phyAddress, with every register 0.
    static void addInterface(const std::string& interface, unsigned phyAddress = 1);
    static bool hasInterface(const std::string& interface);
    static void removeInterface(const std::string& interface);
    // Sets a register as the PHY would hold it (adds the interface when absent).
    static void setRegister(const std::string& interface, unsigned reg, uint16_t value);
    // Current content; throws std::out_of_range when the interface is unknown.
    static uint16_t getRegister(const std::string& interface, unsigned reg);

    // The next times MII requests of that kind on interface fail with error (init: SIOCGMIIPHY,
    // read: SIOCGMIIREG, write: SIOCSMIIREG); a failed write leaves the register unchanged.
    static void failInit(const std::string& interface, int error, int times = 1);
    static void failRead(const std::string& interface, int error, int times = 1);
    static void failWrite(const std::string& interface, int error, int times = 1);

    // The MII requests of a journal, in order.
    static std::vector<MdioAccess> accesses(const std::vector<JournalEntry>& journal);
    // One line for a Call::Mdio journal entry ("mdio  eth0 read reg 0x11 -> 0x1234").
    static std::string describe(const JournalEntry& entry);
};

}  // namespace orva::sim
