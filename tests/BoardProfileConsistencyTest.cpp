// Every board profile against the library: each LED face and button is initialised and exercised
// on every profiled board and variant (the tool's board survey). A face or button that the
// profile's device information claims (it is there with the profile's sysid and feature_* or is*
// keys, and gone when one of them is cleared) must then find everything it uses and log no error;
// and every device the profile describes (attribute directory, proc entry, shared-memory segment,
// PHY) must be used by some face or button.
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
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

void PrintTo(const ProfiledBoard& board, std::ostream* out) {
    char text[16];
    snprintf(text, sizeof(text), "0x%04" PRIX32, board.sysid);
    *out << text << (board.variant.empty() ? "" : " variant " + board.variant);
}

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
            if (present[item] && !without[item])
                claims[item] += (claims[item].empty() ? "" : ", ") + info.key + " " + info.value;
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

// The board's row of the README's table of faces and buttons by board: what works on the board and
// uses something of it (a file, a program, the PHY, the segment), LEDs then buttons.
std::string readmeRow(const ProfiledBoard& board, const BoardSurveyResult& survey) {
    char label[64];
    snprintf(label, sizeof(label), "0x%04" PRIX32 "%s%s%s", board.sysid, board.variant.empty() ? "" : " `--variant ",
             board.variant.c_str(), board.variant.empty() ? "" : "`");
    std::string row = std::string("| ") + label + " |";
    for (const SurveyItem::Kind kind : {SurveyItem::Kind::Led, SurveyItem::Kind::Button}) {
        std::string cell;
        for (const SurveyItem& item : survey.items) {
            if (item.kind != kind || !item.usable) continue;
            bool usesSomething = false;
            for (const SurveyResource& resource : item.resources) usesSomething = usesSomething || resource.exists;
            if (usesSomething) cell += (cell.empty() ? " `" : ", `") + item.className + "`";
        }
        row += (cell.empty() ? std::string(" none") : cell) + " |";
    }
    return row;
}

std::string readmeText() {
    std::ifstream in(ORVA_README);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
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
                                     << ") with " << claims[index]
                                     << ", but the board lacks what it uses; missing:" << missingFiles(item)
                                     << "; first record: "
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
        EXPECT_TRUE(used) << label << ": the profile gives " << attribute.path << ", but no face or button uses "
                          << deviceOf(attribute.path);
    }
    const std::string row = readmeRow(board, survey);
    EXPECT_NE(readmeText().find("\n" + row + "\n"), std::string::npos)
        << label << ": the README's table of faces and buttons by board needs the row\n"
        << row;

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

// The lines of the README table that starts with `header`, up to the first line that is not a row.
std::vector<std::string> tableRows(const std::string& readme, const std::string& header) {
    std::vector<std::string> rows;
    size_t at = readme.find("\n" + header + "\n");
    if (at == std::string::npos) return rows;
    at = readme.find('\n', readme.find('\n', at + 1) + 1) + 1;  // past the header and the rule
    while (at < readme.size() && readme[at] == '|') {
        const size_t end = readme.find('\n', at);
        rows.push_back(readme.substr(at, end - at));
        at = end + 1;
    }
    return rows;
}

std::vector<std::string> cells(const std::string& row) {
    std::vector<std::string> parts;
    std::stringstream in(row.substr(1));
    std::string cell;
    while (std::getline(in, cell, '|')) parts.push_back(cell);
    return parts;
}

std::set<std::string> matches(const std::string& text, const std::regex& pattern) {
    std::set<std::string> found;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), pattern); it != std::sregex_iterator(); ++it) {
        found.insert((*it)[1].str());
    }
    return found;
}

// The table of LED faces names, for each face, the boards that the table by board (checked
// against the survey above) gives it; a face found on no board says "every board" or "none".
TEST(ReadmeBoardTables, EachFaceNamesTheBoardsOfTheTableByBoard) {
    const std::string readme = readmeText();
    const std::vector<std::string> faceRows = tableRows(readme, "| class | what it drives | boards |");
    const std::vector<std::string> boardRows = tableRows(readme, "| board | LED faces | buttons and detectors |");
    ASSERT_GE(faceRows.size(), 13u);
    ASSERT_EQ(boardRows.size(), profiledBoards().size());
    const std::regex sysid("(0x[0-9A-F]{4})");
    const std::regex className("`([A-Za-z0-9]+)`");
    std::map<std::string, std::set<std::string>> boardsOf;
    for (const std::string& row : boardRows) {
        const std::vector<std::string> parts = cells(row);
        ASSERT_EQ(parts.size(), 3u) << row;
        const std::set<std::string> board = matches(parts[0], sysid);
        ASSERT_EQ(board.size(), 1u) << row;
        for (const std::string& face : matches(parts[1], className)) boardsOf[face].insert(*board.begin());
    }
    for (const std::string& row : faceRows) {
        const std::vector<std::string> parts = cells(row);
        ASSERT_EQ(parts.size(), 3u) << row;
        const std::set<std::string> face = matches(parts[0], className);
        ASSERT_EQ(face.size(), 1u) << row;
        const std::string& name = *face.begin();
        const std::string boards = parts[2];
        if (boardsOf.count(name) == 0) {
            EXPECT_TRUE(boards.find(" every board") == 0 || boards == " none ") << name << ": " << boards;
        } else {
            EXPECT_EQ(matches(boards, sysid), boardsOf[name]) << name << ": " << boards;
        }
        boardsOf.erase(name);
    }
    for (const auto& missing : boardsOf) ADD_FAILURE() << missing.first << " has no row in the table of LED faces";
}

}  // namespace
