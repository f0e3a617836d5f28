// MII ioctls of the sandbox: the ioctl hook and the Mdio API. Built like Hooks.cpp, without
// _FILE_OFFSET_BITS, _TIME_BITS and _FORTIFY_SOURCE, so that every prototype is libc's own.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <map>
#include <net/if.h>
#include <stdexcept>
#include <sys/ioctl.h>

#include "RealFunctions.h"
#include "SimState.h"
#include "orva/sim/Mdio.h"

using orva::sim::Call;
using orva::sim::Fault;
using orva::sim::HookScope;
using orva::sim::JournalEntry;
using orva::sim::MdioAccess;
using orva::sim::Sandbox;

namespace {

// Clause-22 PHYs have 32 registers: the kernel keeps the low five bits of the number.
constexpr unsigned kRegisterMask = 0x1f;
// What a read from an address where no PHY answers returns (the bus floats high).
constexpr uint16_t kNoPhy = 0xffff;

struct Phy {
    unsigned address = 1;
    std::map<unsigned, uint16_t> registers;
};

// PHYs of one sandbox, by interface; lives from its first use to the end of that sandbox.
struct MdioState {
    Sandbox* sandbox = nullptr;
    std::map<std::string, Phy> interfaces;
};

MdioState* gMdio = nullptr;

void endOfSandbox() {
    delete gMdio;
    gMdio = nullptr;
}

MdioState* activeState() {
    Sandbox* sandbox = Sandbox::active();
    if (sandbox == nullptr) return nullptr;
    if (gMdio == nullptr || gMdio->sandbox != sandbox) {
        delete gMdio;
        gMdio = new MdioState;
        gMdio->sandbox = sandbox;
        sandbox->addCleanup(endOfSandbox);
    }
    return gMdio;
}

MdioState& requireState() {
    MdioState* state = activeState();
    if (state == nullptr) throw std::logic_error("orva-sim: MDIO needs an active sandbox");
    return *state;
}

const char* operationName(unsigned long request) {
    switch (request) {
    case SIOCGMIIPHY: return "init";
    case SIOCGMIIREG: return "read";
    default: return "write";
    }
}

// Faults are kept with the sandbox's others, under "mdio:<operation>:<interface>".
std::string faultKey(const char* operation, const std::string& interface) {
    return std::string("mdio:") + operation + ":" + interface;
}

bool takeFault(Sandbox& sandbox, const std::string& key, Fault& taken) {
    auto& faults = orva::sim::Hooks::state(sandbox)->faults;
    for (auto it = faults.begin(); it != faults.end(); ++it) {
        if (it->first != key || it->second.call != Call::Mdio || it->second.times <= 0) continue;
        taken = it->second;
        if (--it->second.times == 0) faults.erase(it);
        return true;
    }
    return false;
}

bool isMiiRequest(unsigned long request) {
    return request == SIOCGMIIPHY || request == SIOCGMIIREG || request == SIOCSMIIREG;
}

// Answers one MII request from the sandbox's PHYs and journals it.
int simulateMii(MdioState& state, int fd, unsigned long request, void* argument) {
    auto* ifr = static_cast<ifreq*>(argument);
    JournalEntry entry;
    entry.call = Call::Mdio;
    entry.fd = fd;
    entry.flags = static_cast<int>(request);
    if (ifr == nullptr) {
        entry.result = -1;
        entry.error = EFAULT;
        state.sandbox->record(std::move(entry));
        errno = EFAULT;
        return -1;
    }
    char name[IFNAMSIZ + 1] = {};
    memcpy(name, ifr->ifr_name, IFNAMSIZ);
    entry.path = name;
    auto* data = reinterpret_cast<mii_ioctl_data*>(&ifr->ifr_ifru);
    const unsigned reg = data->reg_num & kRegisterMask;
    if (request != SIOCGMIIPHY) entry.offset = reg;
    if (request == SIOCSMIIREG) entry.count = data->val_in;

    int error = 0;
    Fault fault;
    auto found = state.interfaces.find(entry.path);
    if (takeFault(*state.sandbox, faultKey(operationName(request), entry.path), fault)) {
        error = fault.error;
    } else if (found == state.interfaces.end()) {
        error = ENODEV;
    }
    if (error != 0) {
        entry.result = -1;
        entry.error = error;
        state.sandbox->record(std::move(entry));
        errno = error;
        return -1;
    }
    Phy& phy = found->second;
    switch (request) {
    case SIOCGMIIPHY:
        data->phy_id = static_cast<__u16>(phy.address);
        entry.count = phy.address;
        break;
    case SIOCGMIIREG: {
        uint16_t value = kNoPhy;
        if (data->phy_id == phy.address) {
            auto slot = phy.registers.find(reg);
            value = slot == phy.registers.end() ? 0 : slot->second;
        }
        data->val_out = value;
        entry.count = value;
        break;
    }
    default:
        if (data->phy_id == phy.address) phy.registers[reg] = data->val_in;
        break;
    }
    state.sandbox->record(std::move(entry));
    return 0;
}

template <typename Real>
int ioctlHook(Real real, int fd, unsigned long request, void* argument) {
    HookScope scope;
    MdioState* state = scope.entered() && isMiiRequest(request) ? activeState() : nullptr;
    if (state == nullptr) return real(fd, request, argument);
    return simulateMii(*state, fd, request, argument);
}

}  // namespace

extern "C" {

int ioctl(int fd, unsigned long request, ...) {
    ORVA_REAL(ioctl);
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return ioctlHook(real, fd, request, argument);
}

#if __SIZEOF_POINTER__ == 4
// 32-bit glibc's entry for callers built with 64-bit time.
int __ioctl_time64(int fd, unsigned long request, ...);
int __ioctl_time64(int fd, unsigned long request, ...) {
    static int (*real)(int, unsigned long, ...) = nullptr;
    if (real == nullptr) real = reinterpret_cast<int (*)(int, unsigned long, ...)>(orva::sim::nextSymbol("__ioctl_time64"));
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return ioctlHook(real, fd, request, argument);
}
#endif

}  // extern "C"

namespace orva::sim {

bool operator==(const MdioAccess& a, const MdioAccess& b) {
    return a.kind == b.kind && a.interface == b.interface && a.reg == b.reg && a.value == b.value &&
           a.result == b.result && a.error == b.error;
}

std::string describe(const MdioAccess& access) {
    char line[160];
    const char* name = access.interface.c_str();
    std::string outcome = access.result < 0 ? "-1 (" + std::string(strerror(access.error)) + ")" : "0";
    switch (access.kind) {
    case MdioAccess::Kind::Init:
        if (access.result < 0) {
            snprintf(line, sizeof(line), "%s init -> %s", name, outcome.c_str());
        } else {
            snprintf(line, sizeof(line), "%s init -> phy %u", name, access.value);
        }
        break;
    case MdioAccess::Kind::Read:
        if (access.result < 0) {
            snprintf(line, sizeof(line), "%s read reg 0x%02x -> %s", name, access.reg, outcome.c_str());
        } else {
            snprintf(line, sizeof(line), "%s read reg 0x%02x -> 0x%04x", name, access.reg, access.value);
        }
        break;
    case MdioAccess::Kind::Write:
        snprintf(line, sizeof(line), "%s write reg 0x%02x 0x%04x -> %s", name, access.reg, access.value,
                 outcome.c_str());
        break;
    }
    return line;
}

void Mdio::addInterface(const std::string& interface, unsigned phyAddress) {
    if (interface.empty() || interface.size() >= IFNAMSIZ) {
        throw std::invalid_argument("orva-sim: not an interface name: " + interface);
    }
    Phy& phy = requireState().interfaces[interface];
    phy.address = phyAddress;
    phy.registers.clear();
}

bool Mdio::hasInterface(const std::string& interface) { return requireState().interfaces.count(interface) != 0; }

void Mdio::removeInterface(const std::string& interface) { requireState().interfaces.erase(interface); }

void Mdio::setRegister(const std::string& interface, unsigned reg, uint16_t value) {
    if (!hasInterface(interface)) addInterface(interface);
    requireState().interfaces[interface].registers[reg & kRegisterMask] = value;
}

uint16_t Mdio::getRegister(const std::string& interface, unsigned reg) {
    const Phy& phy = requireState().interfaces.at(interface);
    auto slot = phy.registers.find(reg & kRegisterMask);
    return slot == phy.registers.end() ? 0 : slot->second;
}

void Mdio::failInit(const std::string& interface, int error, int times) {
    requireState().sandbox->inject(faultKey("init", interface), Fault{Fault::Kind::Errno, Call::Mdio, error, 0, times});
}

void Mdio::failRead(const std::string& interface, int error, int times) {
    requireState().sandbox->inject(faultKey("read", interface), Fault{Fault::Kind::Errno, Call::Mdio, error, 0, times});
}

void Mdio::failWrite(const std::string& interface, int error, int times) {
    requireState().sandbox->inject(faultKey("write", interface), Fault{Fault::Kind::Errno, Call::Mdio, error, 0, times});
}

std::vector<MdioAccess> Mdio::accesses(const std::vector<JournalEntry>& journal) {
    std::vector<MdioAccess> selected;
    for (const JournalEntry& entry : journal) {
        if (entry.call != Call::Mdio) continue;
        MdioAccess access;
        const auto request = static_cast<unsigned long>(static_cast<unsigned>(entry.flags));
        access.kind = request == SIOCGMIIPHY   ? MdioAccess::Kind::Init
                      : request == SIOCGMIIREG ? MdioAccess::Kind::Read
                                               : MdioAccess::Kind::Write;
        access.interface = entry.path;
        access.reg = static_cast<unsigned>(entry.offset);
        access.value = static_cast<unsigned>(entry.count);
        access.result = static_cast<int>(entry.result);
        access.error = entry.error;
        selected.push_back(access);
    }
    return selected;
}

std::string Mdio::describe(const JournalEntry& entry) {
    const std::vector<MdioAccess> one = accesses({entry});
    return one.empty() ? std::string() : orva::sim::describe(one.front());
}

}  // namespace orva::sim
