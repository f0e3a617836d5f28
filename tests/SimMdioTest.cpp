// The simulator's MDIO: PHY registers per interface served to the MII ioctls, their journal, their
// faults, profile lines, and every other ioctl left to libc.
#include <cerrno>
#include <cstring>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "BoardFixture.h"
#include "orva/platform.h"
#include "orva/sim/Mdio.h"

using namespace orva::test;
using orva::sim::BoardProfile;
using orva::sim::Mdio;
using orva::sim::MdioAccess;
using orva::sim::Sandbox;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::IsEmpty;

namespace orva::sim {
void PrintTo(const MdioAccess& access, std::ostream* os) { *os << describe(access); }
}  // namespace orva::sim

namespace {

// One MII request made the way a PHY tool makes it.
int mii(int fd, unsigned long request, const char* interface, uint16_t phy, uint16_t reg, uint16_t in, uint16_t* out) {
    ifreq request_data{};
    strncpy(request_data.ifr_name, interface, IFNAMSIZ - 1);
    auto* data = reinterpret_cast<mii_ioctl_data*>(&request_data.ifr_data);
    data->phy_id = phy;
    data->reg_num = reg;
    data->val_in = in;
    const int result = ioctl(fd, request, &request_data);
    if (out != nullptr) *out = request == SIOCGMIIPHY ? data->phy_id : data->val_out;
    return result;
}

class Socket {
public:
    Socket() : fd_(socket(AF_INET, SOCK_DGRAM, 0)) {}
    ~Socket() { close(fd_); }
    int fd() const { return fd_; }

private:
    int fd_;
};

}  // namespace

TEST(SimMdio, RegistersAreServedAndJournaled) {
    Sandbox sandbox;
    Mdio::addInterface("eth1", 3);
    Mdio::setRegister("eth1", 0x11, 0xBEEF);
    Socket sock;
    uint16_t value = 0;
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIPHY, "eth1", 0, 0, 0, &value), 0);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth1", 3, 0x11, 0, &value), 0);
    EXPECT_EQ(value, 0xBEEF);
    EXPECT_EQ(mii(sock.fd(), SIOCSMIIREG, "eth1", 3, 0x11, 0x1234, nullptr), 0);
    EXPECT_EQ(Mdio::getRegister("eth1", 0x11), 0x1234);
    // An unset register reads 0.
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth1", 3, 0x02, 0, &value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_THAT(Mdio::accesses(sandbox.journal()),
                ElementsAre(MdioAccess{MdioAccess::Kind::Init, "eth1", 0, 3, 0, 0},
                            MdioAccess{MdioAccess::Kind::Read, "eth1", 0x11, 0xBEEF, 0, 0},
                            MdioAccess{MdioAccess::Kind::Write, "eth1", 0x11, 0x1234, 0, 0},
                            MdioAccess{MdioAccess::Kind::Read, "eth1", 0x02, 0, 0, 0}));
    const JournalEntry& first = sandbox.journal().front();
    EXPECT_EQ(first.call, Call::Mdio);
    EXPECT_EQ(first.fd, sock.fd());
    EXPECT_EQ(first.flags, static_cast<int>(SIOCGMIIPHY));
    EXPECT_STREQ(orva::sim::callName(Call::Mdio), "mdio");
    EXPECT_EQ(Mdio::describe(sandbox.journal()[1]), "eth1 read reg 0x11 -> 0xbeef");
    EXPECT_EQ(Mdio::describe(sandbox.journal()[2]), "eth1 write reg 0x11 0x1234 -> 0");
    EXPECT_EQ(Mdio::describe(sandbox.journal()[0]), "eth1 init -> phy 3");
}

TEST(SimMdio, AnUnknownInterfaceIsNoDevice) {
    Sandbox sandbox;
    Socket sock;
    uint16_t value = 0;
    errno = 0;
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIPHY, "eth0", 0, 0, 0, &value), -1);
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth0", 1, 0x11, 0, &value), -1);
    EXPECT_EQ(errno, ENODEV);
    EXPECT_THAT(Mdio::accesses(sandbox.journal()),
                ElementsAre(MdioAccess{MdioAccess::Kind::Init, "eth0", 0, 0, -1, ENODEV},
                            MdioAccess{MdioAccess::Kind::Read, "eth0", 0x11, 0, -1, ENODEV}));
    EXPECT_EQ(Mdio::describe(sandbox.journal()[0]), "eth0 init -> -1 (" + std::string(strerror(ENODEV)) + ")");
    EXPECT_THROW(Mdio::getRegister("eth0", 0x11), std::out_of_range);
}

TEST(SimMdio, AnotherPhyAddressReadsAllOnesAndTakesNoWrite) {
    Sandbox sandbox;
    Mdio::setRegister("eth0", 0x11, 0x1234);
    Socket sock;
    uint16_t value = 0;
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth0", 7, 0x11, 0, &value), 0);
    EXPECT_EQ(value, 0xFFFF);
    EXPECT_EQ(mii(sock.fd(), SIOCSMIIREG, "eth0", 7, 0x11, 0, nullptr), 0);
    EXPECT_EQ(Mdio::getRegister("eth0", 0x11), 0x1234);
}

TEST(SimMdio, FaultsHitTheirOwnKindOfRequestInTurn) {
    Sandbox sandbox;
    Mdio::setRegister("eth0", 0x11, 0x1234);
    Mdio::failInit("eth0", EPERM);
    Mdio::failRead("eth0", EIO, 2);
    Mdio::failWrite("eth0", EBUSY);
    Socket sock;
    uint16_t value = 0;
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIPHY, "eth0", 0, 0, 0, &value), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIPHY, "eth0", 0, 0, 0, &value), 0);
    EXPECT_EQ(mii(sock.fd(), SIOCSMIIREG, "eth0", 1, 0x11, 0x9999, nullptr), -1);
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(Mdio::getRegister("eth0", 0x11), 0x1234);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth0", 1, 0x11, 0, &value), -1);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth0", 1, 0x11, 0, &value), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth0", 1, 0x11, 0, &value), 0);
    EXPECT_EQ(value, 0x1234);
    // A fault on one interface leaves another alone.
    Mdio::setRegister("eth1", 0x11, 0x0001);
    Mdio::failRead("eth0", EIO);
    EXPECT_EQ(mii(sock.fd(), SIOCGMIIREG, "eth1", 1, 0x11, 0, &value), 0);
    EXPECT_EQ(value, 1);
}

TEST(SimMdio, OtherIoctlsGoToLibc) {
    Sandbox sandbox;
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], "abc", 3), 3);
    int pending = 0;
    EXPECT_EQ(ioctl(fds[0], FIONREAD, &pending), 0);
    EXPECT_EQ(pending, 3);
    close(fds[0]);
    close(fds[1]);
    EXPECT_THAT(calls(sandbox.journal(), Call::Mdio), IsEmpty());
}

TEST(SimMdio, RegistersEndWithTheSandbox) {
    {
        Sandbox sandbox;
        Mdio::setRegister("eth0", 0x11, 0x1234);
        EXPECT_TRUE(Mdio::hasInterface("eth0"));
    }
    Sandbox next;
    EXPECT_FALSE(Mdio::hasInterface("eth0"));
}

TEST(SimMdio, TheApiNeedsASandbox) {
    EXPECT_THROW(Mdio::setRegister("eth0", 0x11, 1), std::logic_error);
    EXPECT_THROW(Mdio::hasInterface("eth0"), std::logic_error);
    EXPECT_THROW(Mdio::failRead("eth0", EIO), std::logic_error);
}

TEST(SimMdio, InterfaceNamesMustFitTheKernelsField) {
    Sandbox sandbox;
    EXPECT_THROW(Mdio::addInterface(""), std::invalid_argument);
    EXPECT_THROW(Mdio::addInterface("a-very-long-name"), std::invalid_argument);
    Mdio::addInterface("fifteen-chars-x");
    EXPECT_TRUE(Mdio::hasInterface("fifteen-chars-x"));
}

TEST(SimMdio, ProfilesListPhyRegisters) {
    SimBoard board(0xA564);
    EXPECT_EQ(board.profile().phyRegisters.size(), 1u);
    EXPECT_EQ(Mdio::getRegister("eth0", 0x11), 0x1234);
    const BoardProfile profile = BoardProfile::parse("info sysid u64 0x1\nphy eth2 5 0xffff\nphy eth2 0x1f 0\n", "t");
    ASSERT_EQ(profile.phyRegisters.size(), 2u);
    EXPECT_EQ(profile.phyRegisters[0].interface, "eth2");
    EXPECT_EQ(profile.phyRegisters[0].reg, 5u);
    EXPECT_EQ(profile.phyRegisters[0].value, 0xFFFF);
    EXPECT_EQ(profile.phyRegisters[1].reg, 0x1Fu);
    EXPECT_THROW(BoardProfile::parse("phy eth0 0x20 0\n", "t"), std::runtime_error);
    EXPECT_THROW(BoardProfile::parse("phy eth0 1 0x10000\n", "t"), std::runtime_error);
    EXPECT_THROW(BoardProfile::parse("phy eth0 1\n", "t"), std::runtime_error);
}

TEST(SimMdio, TheHostMdioReachesTheSandbox) {
    Sandbox sandbox;
    Mdio::addInterface("eth0", 2);
    Mdio::setRegister("eth0", 0x04, 0x01E1);
    orva::utils::mdio bus;
    ASSERT_TRUE(bus.init("eth0"));
    unsigned short value = 0;
    ASSERT_TRUE(bus.read(0x04, value));
    EXPECT_EQ(value, 0x01E1);
    ASSERT_TRUE(bus.write(0x04, 0x0DE1));
    EXPECT_EQ(Mdio::getRegister("eth0", 0x04), 0x0DE1);
    orva::utils::mdio missing;
    EXPECT_FALSE(missing.init("eth9"));
    EXPECT_FALSE(missing.read(0x04, value));
}
