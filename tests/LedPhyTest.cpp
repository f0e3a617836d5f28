// The Ethernet PHY LED through the simulator's MDIO: binding the board's row, the read-modify-write
// of register 0x11 of eth0, the read rule, every message, MDIO init, read and write failures, and
// the steady state.
#include <cerrno>

#include <gmock/gmock.h>

#include "AllocationCounter.h"
#include "BoardFixture.h"
#include "orva/platform.h"
#include "orva/sim/Mdio.h"
#include "orva_gpio_utils/LedPhy.h"

using namespace orva::test;
using orva::sim::Mdio;
using orva::sim::MdioAccess;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/LedPhy";
constexpr unsigned kLedRegister = 0x11;

class ProbedLedPhy : public LedPhy {
public:
    using LedPhy::_phyConfig;
};

MdioAccess initOf(unsigned phy = 1) { return MdioAccess{MdioAccess::Kind::Init, "eth0", 0, phy, 0, 0}; }
MdioAccess readOf(unsigned value) { return MdioAccess{MdioAccess::Kind::Read, "eth0", kLedRegister, value, 0, 0}; }
MdioAccess writeOf(unsigned value) { return MdioAccess{MdioAccess::Kind::Write, "eth0", kLedRegister, value, 0, 0}; }
MdioAccess failed(MdioAccess access, int error) {
    access.result = -1;
    access.error = error;
    return access;
}

Expected noConfig(const char* function) { return Expected{kSource, function, 3, 0, "_phyConfig is NULL"}; }
Expected unableToRead(const char* function) {
    return Expected{kSource, function, 3, 0, "Unable to read phy reg 11 from eth0"};
}
Expected initFailed() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }
Expected writeValueFailed() { return Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}; }

std::vector<MdioAccess> accesses(const SimBoard& board) { return Mdio::accesses(board.journal()); }

}  // namespace

namespace orva::sim {
void PrintTo(const MdioAccess& access, std::ostream* os) { *os << describe(access); }
}  // namespace orva::sim

// ---- construction and fixed answers ----

TEST(LedPhy, ConstructionBindsNothingAndTouchesNothing) {
    SimBoard board(0xA564);
    {
        ProbedLedPhy led;
        EXPECT_EQ(led._phyConfig, nullptr);
    }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedPhy, FixedAnswersAndNoAutoMode) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    EXPECT_TRUE(led.isBinary());
    EXPECT_FALSE(led.hasAutoMode());
    EXPECT_FALSE(led.isManagedByMcu());
    EXPECT_EQ(led.rangeMin(), 0);
    EXPECT_EQ(led.rangeMax(), 1);
    bool enabled = true;
    EXPECT_FALSE(led.writeAutoMode());
    EXPECT_FALSE(led.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"}));
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- binding ----

TEST(LedPhy, InitOn0xA564BindsTheRowAndOpensMdioOnEth0) {
    SimBoard board(0xA564);
    LogCapture log;
    ProbedLedPhy led;
    EXPECT_TRUE(led.exists());
    ASSERT_TRUE(led.init("phy"));
    ASSERT_NE(led._phyConfig, nullptr);
    EXPECT_THAT(accesses(board), ElementsAre(initOf()));
    EXPECT_THAT(log.records(), IsEmpty());
    // Init reads nothing: the register still holds the board's content.
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x1234);
}

TEST(LedPhy, ExistsOnceBoundWhateverTheBoardSaysLater) {
    SimBoard board(0xA564);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    CameraInfo::instance()["sysid"] = 0xA533ULL;
    EXPECT_TRUE(led.exists());
    LedPhy other;
    EXPECT_FALSE(other.exists());
}

TEST(LedPhy, OtherBoardsHaveNoPhyLedAndEveryHardwareCallSaysSo) {
    for (const uint32_t sysid : {0xA533u, 0xA598u, 0xA574u}) {
        SimBoard board(sysid);
        LogCapture log;
        ProbedLedPhy led;
        EXPECT_FALSE(led.exists());
        EXPECT_TRUE(led.initGPIO());
        EXPECT_EQ(led._phyConfig, nullptr);
        int value = 7;
        EXPECT_FALSE(led.writeValue(1));
        EXPECT_FALSE(led.readValue(value));
        EXPECT_EQ(value, 7);
        EXPECT_THAT(log.records(), ElementsAre(noConfig("writeValue"), noConfig("readValue")));
        EXPECT_THAT(board.journal(), IsEmpty());
    }
}

TEST(LedPhy, AMissingLedInitialisesAndEveryOperationIsANoOp) {
    SimBoard board(0xA598);
    LogCapture log;
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    EXPECT_TRUE(led.setBoolean(true));
    EXPECT_TRUE(led.setValue(1, false));
    EXPECT_TRUE(led.save());
    EXPECT_TRUE(led.restore());
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedPhy, WithoutInitGpioReadsAndWritesFindNoRow) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    int value = 0;
    EXPECT_FALSE(led.writeValue(1));
    EXPECT_FALSE(led.readValue(value));
    EXPECT_THAT(log.records(), ElementsAre(noConfig("writeValue"), noConfig("readValue")));
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedPhy, MdioInitFailureFailsInitWithoutAMessageOfItsOwn) {
    SimBoard board(0xA564);
    Mdio::failInit("eth0", EPERM);
    LogCapture log;
    ProbedLedPhy led;
    EXPECT_FALSE(led.init("phy"));
    EXPECT_NE(led._phyConfig, nullptr);
    EXPECT_THAT(accesses(board), ElementsAre(failed(initOf(0), EPERM)));
    EXPECT_THAT(log.records(), ElementsAre(initFailed()));
}

TEST(LedPhy, AMissingInterfaceFailsInit) {
    SimBoard board(0xA564);
    Mdio::removeInterface("eth0");
    LogCapture log;
    LedPhy led;
    EXPECT_FALSE(led.init("phy"));
    EXPECT_THAT(accesses(board), ElementsAre(failed(initOf(0), ENODEV)));
    EXPECT_THAT(log.records(), ElementsAre(initFailed()));
}

// ---- the read-modify-write ----

TEST(LedPhy, OnAndOffChangeOnlyTheLedFieldOf0x1234) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.writeValue(1));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x123C);
    Mdio::setRegister("eth0", kLedRegister, 0x1234);
    EXPECT_TRUE(led.writeValue(0));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x120C);
    EXPECT_THAT(accesses(board), ElementsAre(readOf(0x1234), writeOf(0x123C), readOf(0x1234), writeOf(0x120C)));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedPhy, AnyNonZeroValueSwitchesOn) {
    SimBoard board(0xA564);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    for (const int value : {5, -1, 2147483647, static_cast<int>(0x80000000u)}) {
        Mdio::setRegister("eth0", kLedRegister, 0x1234);
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.writeValue(value));
        EXPECT_THAT(accesses(board), ElementsAre(readOf(0x1234), writeOf(0x123C))) << value;
    }
}

TEST(LedPhy, BitsOutsideTheFieldAreKeptAtEitherExtreme) {
    SimBoard board(0xA564);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    Mdio::setRegister("eth0", kLedRegister, 0xFFFF);
    EXPECT_TRUE(led.writeValue(0));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0xFFCF);
    Mdio::setRegister("eth0", kLedRegister, 0x0000);
    EXPECT_TRUE(led.writeValue(1));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x0038);
}

TEST(LedPhy, ReadIsOneOnlyForTheOnPattern) {
    SimBoard board(0xA564);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    const std::pair<uint16_t, int> cases[] = {{0x0038, 1}, {0x0008, 0}, {0x0030, 0}, {0x0000, 0},
                                              {0xFFFF, 1}, {0xFFCF, 0}, {0x123C, 1}, {0x1234, 0}};
    for (const auto& c : cases) {
        Mdio::setRegister("eth0", kLedRegister, c.first);
        board.sandbox().clearJournal();
        int value = -7;
        EXPECT_TRUE(led.readValue(value));
        EXPECT_EQ(value, c.second) << std::hex << c.first;
        EXPECT_THAT(accesses(board), ElementsAre(readOf(c.first)));
    }
}

TEST(LedPhy, AFailedReadWritesNothing) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    board.sandbox().clearJournal();
    Mdio::failRead("eth0", EIO);
    EXPECT_FALSE(led.writeValue(1));
    EXPECT_THAT(accesses(board), ElementsAre(failed(readOf(0), EIO)));
    EXPECT_THAT(log.records(), ElementsAre(unableToRead("writeValue")));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x1234);
}

TEST(LedPhy, AFailedReadFailsReadValueAndLeavesTheResult) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    Mdio::failRead("eth0", ETIMEDOUT);
    int value = 9;
    EXPECT_FALSE(led.readValue(value));
    EXPECT_EQ(value, 9);
    EXPECT_THAT(log.records(), ElementsAre(unableToRead("readValue")));
}

TEST(LedPhy, AFailedWriteIsReportedThroughTheResultOnly) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    board.sandbox().clearJournal();
    Mdio::failWrite("eth0", EPERM);
    EXPECT_FALSE(led.writeValue(1));
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_THAT(accesses(board), ElementsAre(readOf(0x1234), failed(writeOf(0x123C), EPERM)));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x1234);
    // Through BaseLed the value stays unknown, so the next call tries again.
    Mdio::failWrite("eth0", EPERM);
    EXPECT_FALSE(led.setBoolean(true));
    EXPECT_THAT(log.records(), ElementsAre(writeValueFailed()));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setBoolean(true));
    EXPECT_THAT(accesses(board), ElementsAre(readOf(0x1234), writeOf(0x123C)));
}

TEST(LedPhy, ReadsTheRegisterAfreshOnEveryCall) {
    SimBoard board(0xA564);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    ASSERT_TRUE(led.setBoolean(true));
    // Another user of the PHY changes the register's other bits meanwhile.
    Mdio::setRegister("eth0", kLedRegister, 0x8038);
    ASSERT_TRUE(led.setBoolean(false));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x8008);
}

TEST(LedPhy, SaveReadsTheLedBackAndRestoreSwitchesItAgain) {
    SimBoard board(0xA564);
    Mdio::setRegister("eth0", kLedRegister, 0x123C);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    ASSERT_TRUE(led.save());
    ASSERT_TRUE(led.setBoolean(false));
    EXPECT_EQ(Mdio::getRegister("eth0", kLedRegister), 0x120C);
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.restore());
    EXPECT_THAT(accesses(board), ElementsAre(readOf(0x120C), writeOf(0x123C)));
}

TEST(LedPhy, BinaryValuesOtherThanZeroAndOneAreRefused) {
    SimBoard board(0xA564);
    LogCapture log;
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    board.sandbox().clearJournal();
    // The conversion refuses 2 and hands 0 on: the LED is switched off.
    EXPECT_TRUE(led.setValue(2, false));
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseLed", "convertUserToGPIO", 3, 0, "Validation failed, value=2"}));
    EXPECT_THAT(accesses(board), ElementsAre(readOf(0x1234), writeOf(0x120C)));
}

// ---- steady state ----

TEST(LedPhy, OneReadAndOneWritePerChangeNoneWhenUnchangedAndNoAllocations) {
    SimBoard board(0xA564);
    LedPhy led;
    ASSERT_TRUE(led.init("phy"));
    // Room in the journal, so that its growth does not count.
    for (int i = 0; i < 64; ++i) ASSERT_TRUE(led.setBoolean(i % 2 == 0));
    board.sandbox().clearJournal();

    AllocationScope changed;
    ASSERT_TRUE(led.setBoolean(true));
    EXPECT_EQ(changed.count(), 0u);
    // The loop ended with the LED off.
    EXPECT_THAT(accesses(board), ElementsAre(readOf(0x120C), writeOf(0x123C)));
    EXPECT_EQ(board.journal().size(), 2u);

    board.sandbox().clearJournal();
    AllocationScope unchanged;
    ASSERT_TRUE(led.setBoolean(true));
    EXPECT_EQ(unchanged.count(), 0u);
    EXPECT_THAT(board.journal(), IsEmpty());
}
