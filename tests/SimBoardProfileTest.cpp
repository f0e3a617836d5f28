// Board profiles: hardware variants built on a board's main profile.
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orva/sim/SimBoard.h"

using orva::sim::BoardProfile;
using testing::ElementsAre;

namespace {

// A boards folder of the test's own, named by ORVA_BOARDS_DIR while alive.
class BoardsFolder {
public:
    BoardsFolder() {
        char pattern[] = "/tmp/orva-boards-XXXXXX";
        folder_ = mkdtemp(pattern);
        const char* old = getenv("ORVA_BOARDS_DIR");
        old_ = old ? old : "";
        setenv("ORVA_BOARDS_DIR", folder_.c_str(), 1);
    }
    ~BoardsFolder() {
        setenv("ORVA_BOARDS_DIR", old_.c_str(), 1);
        for (const std::string& file : files_) std::remove((folder_ + "/" + file).c_str());
        rmdir(folder_.c_str());
    }
    void write(const std::string& file, const std::string& text) {
        std::ofstream(folder_ + "/" + file) << text;
        files_.push_back(file);
    }

private:
    std::string folder_;
    std::string old_;
    std::vector<std::string> files_;
};

const char kMain[] =
    "name Board with two drivers\n"
    "info sysid u64 0xA5A3\n"
    "info flag bool true\n"
    "attr /sys/bus/i2c/devices/0-0030/leds/R/brightness 0644 0\n"
    "attr /sys/devices/usbcm/ledr 0644 0\n";

}  // namespace

TEST(SimBoardProfile, AVariantStartsFromTheMainProfileAndDropsOrReplacesWhatItNames) {
    BoardsFolder boards;
    boards.write("a5a3.board", kMain);
    boards.write("a5a3-usb-only.board",
                 "include a5a3.board\n"
                 "name Board with the USB controller only\n"
                 "noattr /sys/bus/i2c/devices/0-0030/leds/R/brightness\n"
                 "info flag bool false\n"
                 "attr /sys/devices/usbcm/ledr 0644 7\n");

    const BoardProfile main = BoardProfile::load(0xA5A3);
    EXPECT_EQ(main.variant, "");
    ASSERT_EQ(main.attributes.size(), 2u);

    const BoardProfile usb = BoardProfile::load(0xA5A3, "usb-only");
    EXPECT_EQ(usb.variant, "usb-only");
    EXPECT_EQ(usb.name, "Board with the USB controller only");
    EXPECT_EQ(usb.sysid, 0xA5A3u);
    ASSERT_EQ(usb.attributes.size(), 1u);
    EXPECT_EQ(usb.attributes[0].path, "/sys/devices/usbcm/ledr");
    EXPECT_EQ(usb.attributes[0].value, "7");
    ASSERT_EQ(usb.info.size(), 2u);
    EXPECT_EQ(usb.info[1].key, "flag");
    EXPECT_EQ(usb.info[1].value, "false");

    EXPECT_THAT(BoardProfile::available(), ElementsAre(0xA5A3u));
    EXPECT_THAT(BoardProfile::variants(0xA5A3), ElementsAre("usb-only"));
}

TEST(SimBoardProfile, MistakesInVariantsAreReportedWithTheirLine) {
    BoardsFolder boards;
    boards.write("a5a3.board", kMain);
    boards.write("a5a3-bad.board", "include a5a3.board\nnoattr /sys/not/there\n");
    boards.write("a5a3-loop.board", "include a5a3-loop.board\n");
    try {
        BoardProfile::load(0xA5A3, "bad");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("a5a3-bad.board:2: no attribute to drop: /sys/not/there"));
    }
    EXPECT_THROW(BoardProfile::load(0xA5A3, "loop"), std::runtime_error);
    EXPECT_THROW(BoardProfile::load(0xA5A3, "missing"), std::runtime_error);
    EXPECT_THROW(BoardProfile::load(0xA5A3, "../a5a3"), std::runtime_error);
}
