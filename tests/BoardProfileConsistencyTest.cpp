// Every board profile against the library: each LED face and button is initialised and exercised
// on every profiled board and variant (the tool's board survey). A face or button that the
// profile's device information claims (it is there with the profile's sysid and feature_* or is*
// keys, and gone when one of them is cleared) must then find everything it uses and log no error;
// and every device the profile describes (attribute directory, proc entry, shared-memory segment,
// PHY) must be used by some face or button.
#include <cinttypes>
#include <cstdio>
#include <set>
#include <strings.h>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BoardSurvey.h"
#include "FreshProcess.h"
#include "orva/sim/SimBoard.h"
#include "orva/sim/Uartcli.h"

namespace {

using orva::sim::BoardProfile;
using orva::tool::BoardSurveyResult;
using orva::tool::SurveyItem;
using orva::tool::SurveyResource;

struct ProfiledBoard {
    uint32_t sysid;
    std::string variant;
};

std::vector<ProfiledBoard> profiledBoards() {
    std::vector<ProfiledBoard> boards;
    for (const uint32_t sysid : BoardProfile::available()) {
        boards.push_back({sysid, ""});
        for (const std::string& variant : BoardProfile::variants(sysid)) boards.push_back({sysid, variant});
    }
    return boards;
}

std::string boardLabel(const ProfiledBoard& board) {
    char text[64];
    snprintf(text, sizeof(text), "0x%04" PRIX32 "%s%s", board.sysid, board.variant.empty() ? "" : " variant ",
             board.variant.c_str());
    return text;
}

std::string directoryOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

// The device a profile attribute belongs to: its directory, except for proc entries, each of which
// is an input of its own.
std::string deviceOf(const std::string& path) {
    if (path.rfind("/proc/", 0) == 0) return path;
    return directoryOf(path);
}

std::vector<bool> presenceWith(const BoardProfile& profile) {
    orva::sim::SimBoard simulated(profile);
    orva::sim::registerUartcli();
    return orva::tool::surveyPresence();
}

// What the profile's device information claims: for each face and button, the keys without which
// it would not be there (sysid, or a key the profile sets: feature_*, is*). Found by clearing one
// key at a time and asking every face and button again. Empty for what is there on any board.
std::vector<std::string> claimsOf(const BoardProfile& profile) {
    const std::vector<bool> present = presenceWith(profile);
    std::vector<std::string> claims(present.size());
    for (size_t key = 0; key < profile.info.size(); ++key) {
        const BoardProfile::InfoKey& info = profile.info[key];
        if (info.key == "hwrev" || info.value == "0" || info.value == "false") continue;
        BoardProfile cleared = profile;
        cleared.info[key].value = info.type == "bool" ? "false" : info.type == "str" ? "" : "0";
        const std::vector<bool> without = presenceWith(cleared);
        for (size_t item = 0; item < present.size(); ++item) {
            if (present[item] && !without[item]) claims[item] += (claims[item].empty() ? "" : ", ") + info.key + " " + info.value;
        }
    }
    return claims;
}

std::string missingFiles(const SurveyItem& item) {
    std::string text;
    for (const SurveyResource& resource : item.resources) {
        if (!resource.exists) text += " " + resource.path;
    }
    return text.empty() ? std::string(" (none)") : text;
}

// Checks one board; runs in a fresh process (the library keeps some state per process).
void checkBoard(const ProfiledBoard& board) {
    const BoardProfile profile = BoardProfile::load(board.sysid, board.variant);
    const std::vector<std::string> claims = claimsOf(profile);
    const BoardSurveyResult survey = orva::tool::surveySimulatedBoard(profile);
    const std::string label = boardLabel(board);
    ASSERT_EQ(survey.items.size(), orva::tool::surveyItemNames().size()) << label;
    ASSERT_EQ(claims.size(), survey.items.size()) << label;

    std::vector<std::string> usedPaths;
    std::set<std::string> usedSegments;
    std::set<std::string> usedInterfaces;
    for (size_t index = 0; index < survey.items.size(); ++index) {
        const SurveyItem& item = survey.items[index];
        // What the profile claims must work: initialised, exercised without an error record (a
        // failed open of a file the face needs, a missing segment, a PHY that does not answer).
        if (!claims[index].empty()) {
            EXPECT_TRUE(item.usable) << label << ": the profile claims " << item.name << " (" << item.className
                                     << ") with " << claims[index] << ", but the board lacks what it uses; missing:"
                                     << missingFiles(item) << "; first record: "
                                     << (item.errors.empty() ? std::string("none") : item.errors.front());
        }
        for (const SurveyResource& resource : item.resources) {
            if (!resource.exists) continue;
            switch (resource.kind) {
            case SurveyResource::Kind::Attribute: usedPaths.push_back(resource.path); break;
            case SurveyResource::Kind::SharedMemory: usedSegments.insert(resource.path); break;
            case SurveyResource::Kind::Mdio: usedInterfaces.insert(resource.path); break;
            case SurveyResource::Kind::Program: break;
            }
        }
    }

    // A device is used when a face or button used one of its files, or a file of a device below it
    // (a PWM chip through its channels).
    for (const BoardProfile::Attribute& attribute : profile.attributes) {
        const std::string device = deviceOf(attribute.path);
        bool used = false;
        for (const std::string& path : usedPaths) used = used || path == device || path.rfind(device + "/", 0) == 0;
        EXPECT_TRUE(used)
            << label << ": the profile gives " << attribute.path << ", but no face or button uses "
            << deviceOf(attribute.path);
    }
    for (const BoardProfile::Segment& segment : profile.segments) {
        char key[16];
        snprintf(key, sizeof(key), "0x%X", static_cast<unsigned>(segment.key));
        bool used = false;
        for (const std::string& name : usedSegments) used = used || strcasecmp(name.c_str(), key) == 0;
        EXPECT_TRUE(used) << label << ": the profile gives segment " << key << ", but no button uses it";
    }
    for (const BoardProfile::PhyRegister& phy : profile.phyRegisters) {
        EXPECT_EQ(usedInterfaces.count(phy.interface), 1u)
            << label << ": the profile gives PHY registers of " << phy.interface << ", but no face uses them";
    }
}

class BoardProfileConsistency : public ::testing::TestWithParam<ProfiledBoard> {};

TEST_P(BoardProfileConsistency, FacesAndButtonsFindWhatTheProfileClaimsAndUseWhatItGives) {
    const ProfiledBoard board = GetParam();
    orva::test::inFreshProcess([&] { checkBoard(board); });
}

std::string testName(const ::testing::TestParamInfo<ProfiledBoard>& info) {
    char text[64];
    snprintf(text, sizeof(text), "%04" PRIX32, info.param.sysid);
    std::string name = text;
    for (const char c : info.param.variant) name += isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryProfiledBoard, BoardProfileConsistency, ::testing::ValuesIn(profiledBoards()), testName);

// The profiles themselves: every board has a main profile and each test name is unique.
TEST(BoardProfileConsistencyList, EveryProfileFileIsABoardOrAVariant) {
    const std::vector<ProfiledBoard> boards = profiledBoards();
    EXPECT_GE(boards.size(), 32u);
    std::set<std::string> names;
    for (const ProfiledBoard& board : boards) EXPECT_TRUE(names.insert(boardLabel(board)).second) << boardLabel(board);
}

}  // namespace
