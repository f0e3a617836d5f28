#include "BoardView.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "Options.h"
#include "orva/sim/SharedMemory.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/RingButton.h"

namespace orva::tool::view {

namespace {

using orva::sim::BoardProfile;

// The shared-memory reset button: byte 271 of segment 0x162F, 0 while pressed.
constexpr uint32_t kShmemResetBoard = 0xA564;
constexpr size_t kResetButtonByte = 271;

const std::string kMulticolor = "/sys/class/leds/multicolor:";
const std::string kLedClass = "/sys/class/leds/";
const std::string kBacklight = "/sys/class/backlight/";
const std::string kPwm = "/sys/class/pwm/";

bool startsWith(const std::string& text, const std::string& prefix) { return text.compare(0, prefix.size(), prefix) == 0; }

std::string directoryOf(const std::string& path) { return path.substr(0, path.rfind('/')); }
std::string leafOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream in(text);
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

// The leading decimal number of an attribute's text ("40\n", "40\0"); fallback when there is none.
long numberOf(const std::string& text, long fallback = 0) {
    const char* start = text.c_str();
    char* end = nullptr;
    const long value = strtol(start, &end, 10);
    return end == start ? fallback : value;
}

int clamp255(long value) { return static_cast<int>(std::min(255L, std::max(0L, value))); }

int percentOf(long value, long maximum) {
    if (maximum <= 0) return value > 0 ? 100 : 0;
    return static_cast<int>(std::min(100L, std::max(0L, value * 100 / maximum)));
}

// A colour channel named by one letter: R G B W.
bool channelLetter(char letter) { return letter == 'R' || letter == 'G' || letter == 'B' || letter == 'W'; }

void addChannel(Cell& cell, char letter, int level) {
    switch (letter) {
        case 'R': cell.red = std::max(cell.red, level); break;
        case 'G': cell.green = std::max(cell.green, level); break;
        case 'B': cell.blue = std::max(cell.blue, level); break;
        default: cell.white = std::max(cell.white, level); break;
    }
}

// Channels of the library's colour numbers (none, black, red, green, blue, yellow, amber, cyan,
// magenta, white, then white with each colour).
Cell cellOfColor(int color, int level) {
    Cell cell{0, 0, 0, 0};
    const int base = color >= 10 && color <= 15 ? color - 8 : color;
    switch (base) {
        case 2: cell.red = level; break;
        case 3: cell.green = level; break;
        case 4: cell.blue = level; break;
        case 5: cell.red = level, cell.green = level; break;
        case 6: cell.red = level, cell.green = level / 2; break;
        case 7: cell.green = level, cell.blue = level; break;
        case 8: cell.red = level, cell.blue = level; break;
        case 9: cell.white = level; break;
        default: break;
    }
    if (color >= 10 && color <= 15) cell.white = level;
    return cell;
}

// The colour letter of a channel LED's name: "R", "lp5012:G2", "usbcm01xx_ledb"; 0 for none.
char channelOf(const std::string& name, std::string& group) {
    if (name.size() == 1 && channelLetter(name[0])) {
        group = "";
        return name[0];
    }
    const size_t colon = name.rfind(':');
    if (colon != std::string::npos && colon + 1 < name.size() && channelLetter(name[colon + 1]) &&
        name.find_first_not_of("0123456789", colon + 2) == std::string::npos) {
        group = name.substr(0, colon + 1) + name.substr(colon + 2);
        return name[colon + 1];
    }
    const size_t led = name.rfind("_led");
    if (led != std::string::npos && led + 5 == name.size()) {
        const char letter = static_cast<char>(toupper(static_cast<unsigned char>(name[led + 4])));
        if (channelLetter(letter)) {
            group = name.substr(0, led + 4);
            return letter;
        }
    }
    return 0;
}

// Colour of a single LED-class LED from its device name.
Cell singleLedCell(const std::string& device, int level) {
    std::string group;
    const char letter = channelOf(device, group);
    Cell cell{0, 0, 0, 0};
    if (letter != 0) {
        addChannel(cell, letter, level);
    } else if (device.find("red") != std::string::npos) {
        cell.red = level;
    } else if (device.find("green") != std::string::npos) {
        cell.green = level;
    } else if (device.find("blue") != std::string::npos) {
        cell.blue = level;
    } else {
        cell.white = level;
    }
    return cell;
}

std::string channelsText(const Cell& cell) {
    char text[64];
    snprintf(text, sizeof(text), "(r %d g %d b %d w %d)", cell.red, cell.green, cell.blue, cell.white);
    return text;
}

struct Reader {
    const FileReader& read;
    std::string text(const std::string& path) const {
        bool exists = false;
        return read(path, exists);
    }
    bool has(const std::string& path) const {
        bool exists = false;
        read(path, exists);
        return exists;
    }
};

// Brightness of an LED-class device on the cells' 0..255 scale.
int deviceLevel(const Reader& reader, const std::string& device) {
    const long value = numberOf(reader.text(device + "/brightness"));
    const long maximum = numberOf(reader.text(device + "/max_brightness"), 255);
    return maximum > 0 ? clamp255(value * 255 / maximum) : clamp255(value);
}

// The multicolour ring: the status devices carry the colour LEDs (one or several LEDs per device,
// channels in the order "multi_index" names), the indicator devices the white LEDs, three each.
std::vector<Cell> multicolorRing(const Item& item, const Reader& reader) {
    int statuses = 0;
    int indicators = 0;
    for (const std::string& file : item.files) {
        if (leafOf(file) != "multi_intensity") continue;
        (file.find(":status") != std::string::npos ? statuses : indicators) += 1;
    }
    const int leds = std::max(statuses, indicators);
    if (leds == 0 || statuses == 0) return {};
    const int perStatus = std::max(1, leds / statuses);
    auto device = [](const char* kind, int index) {
        return kMulticolor + kind + (index == 0 ? std::string() : "_" + std::to_string(index));
    };
    std::vector<Cell> cells(static_cast<size_t>(leds), Cell{0, 0, 0, 0});
    for (int led = 0; led < leds; ++led) {
        Cell& cell = cells[static_cast<size_t>(led)];
        const std::string status = device("status", led / perStatus);
        const std::vector<std::string> channels = wordsOf(reader.text(status + "/multi_index"));
        const std::vector<std::string> levels = wordsOf(reader.text(status + "/multi_intensity"));
        for (size_t k = 0; k < channels.size() && k < levels.size(); ++k) {
            const int level = clamp255(numberOf(levels[k]));
            if (channels[k] == "red") cell.red = level;
            if (channels[k] == "green") cell.green = level;
            if (channels[k] == "blue") cell.blue = level;
        }
        const std::vector<std::string> whites = wordsOf(reader.text(device("indicator", led / 3) + "/multi_intensity"));
        const size_t slot = static_cast<size_t>(led % 3);
        if (slot < whites.size()) cell.white = clamp255(numberOf(whites[slot]));
    }
    return cells;
}

// A KTD20xx driver chip: LED nodes ("LED1": a level 0..99 per channel, three white LEDs) or
// pattern nodes ("A1": three on/off digits, red green blue, lit at the chip's brightness 0..99).
std::vector<Cell> ktdRow(const Item& item, const Reader& reader) {
    std::vector<Cell> cells;
    std::string chip;
    for (const std::string& file : item.files) {
        if (leafOf(file) == "brightness") chip = directoryOf(file);
    }
    const int chipLevel = clamp255(numberOf(reader.text(chip + "/brightness")) * 255 / 99);
    for (const std::string& file : item.files) {
        const std::string leaf = leafOf(file);
        const std::string text = reader.text(file);
        if (startsWith(leaf, "LED")) {
            const std::vector<std::string> levels = wordsOf(text);
            for (size_t k = 0; k < 3; ++k) {
                const int level = k < levels.size() ? clamp255(numberOf(levels[k]) * 255 / 99) : 0;
                cells.push_back(Cell{0, 0, 0, level});
            }
        } else if (leaf.size() == 2 && leaf[0] >= 'A' && leaf[0] <= 'C') {
            auto on = [&](size_t index) { return index < text.size() && text[index] == '1' ? chipLevel : 0; };
            cells.push_back(Cell{on(0), on(1), on(2), 0});
        }
    }
    return cells;
}

bool isKtdNode(const std::string& leaf) {
    return (startsWith(leaf, "LED") && leaf.size() > 3) ||
           (leaf.size() == 2 && leaf[0] >= 'A' && leaf[0] <= 'C' && leaf[1] >= '1' && leaf[1] <= '9');
}

Reading readLed(const Item& item, const Reader& reader) {
    Reading reading;
    Cell cell{0, 0, 0, 0};
    std::map<std::string, bool> devices;
    for (const std::string& file : item.files) {
        const std::string leaf = leafOf(file);
        if (leaf == "brightness") devices[directoryOf(file)] = true;
        // Channel files that are the LED themselves ("..._ledr" holding a level 0..255).
        std::string group;
        const char letter = channelOf(leaf, group);
        if (letter != 0 && leaf.size() > 1) addChannel(cell, letter, clamp255(numberOf(reader.text(file))));
    }
    for (const auto& device : devices) {
        const std::string name = leafOf(device.first);
        const int level = deviceLevel(reader, device.first);
        if (reader.has(device.first + "/color_fg")) {
            // The AV LED's driver takes colour names ("red", "white_blue"); numbers are read too.
            int color = 0;
            try {
                color = static_cast<int>(parseColor(reader.text(device.first + "/color_fg")));
            } catch (const UsageError&) {
                color = 0;
            }
            const Cell colored = cellOfColor(color, level);
            cell = colored;
            reading.detail = std::string(colorName(color)) + " ";
            continue;
        }
        std::string group;
        const char letter = channelOf(name, group);
        if (letter != 0 && reader.has(device.first + "/color")) {
            // An LP5012 unit: the channel's value 0..99 sits in the upper field of its "color"
            // number (decimal as written, six hex digits as the driver shows it), lit at brightness.
            const std::string text = reader.text(device.first + "/color");
            const bool hexText = text.size() == 6 && text[0] == '0';
            const unsigned long number = strtoul(text.c_str(), nullptr, hexText ? 16 : 10);
            const long field = static_cast<long>((number >> 16) & 0xFFu);
            addChannel(cell, letter, clamp255(field * 255 / 99 * level / 255));
        } else if (letter != 0) {
            addChannel(cell, letter, level);
        } else {
            const Cell single = singleLedCell(name, level);
            cell = Cell{std::max(cell.red, single.red), std::max(cell.green, single.green),
                        std::max(cell.blue, single.blue), std::max(cell.white, single.white)};
        }
    }
    reading.cells.push_back(cell);
    reading.detail += channelsText(cell);
    reading.text = cellLetters({cell}) + " " + reading.detail;
    return reading;
}

Reading readLevel(const Item& item, const Reader& reader) {
    Reading reading;
    std::string detail;
    for (const std::string& file : item.files) {
        const std::string leaf = leafOf(file);
        const std::string directory = directoryOf(file);
        if (leaf == "duty_cycle") {
            const long duty = numberOf(reader.text(file));
            const long period = numberOf(reader.text(directory + "/period"));
            const bool enabled = numberOf(reader.text(directory + "/enable"), 1) != 0;
            reading.percent = enabled ? percentOf(duty, period) : 0;
            detail = "duty " + std::to_string(duty) + "/" + std::to_string(period) + (enabled ? "" : ", disabled");
        } else if (leaf == "brightness") {
            const long value = numberOf(reader.text(file));
            const long maximum = numberOf(reader.text(directory + "/max_brightness"), 0);
            reading.percent = percentOf(value, maximum);
            detail = "brightness " + std::to_string(value) + "/" + std::to_string(maximum);
        } else if (startsWith(file, "/proc/")) {
            const long value = numberOf(reader.text(file));
            reading.percent = value != 0 ? 100 : 0;
            detail = leaf + " " + std::to_string(value);
        }
    }
    reading.text = std::to_string(std::max(0, reading.percent)) + "% (" + detail + ")";
    return reading;
}

}  // namespace

std::string cellLetters(const std::vector<Cell>& cells) { return ringText(cells, false); }

std::vector<Item> itemsFor(const BoardProfile& profile) {
    std::vector<Item> leds, rings, levels, inputs, others;
    std::map<std::string, bool> claimed;
    auto claim = [&](const std::string& path) { claimed[path] = true; };
    auto has = [&](const std::string& path) {
        for (const BoardProfile::Attribute& attribute : profile.attributes) {
            if (attribute.path == path) return true;
        }
        return false;
    };

    // Buttons and detectors, named and keyed as `orva-gpio button NAME` names them.
    struct InputRow {
        const char* name;
        char key;
        ItemKind kind;
        std::string entry;
    };
    const InputRow inputRows[] = {
        {"reset", 'r', ItemKind::Button, ResetGPIOButtonCase().getProcEntry()},
        {"ring", 'g', ItemKind::Button, RingButton().getProcEntry()},
        {"enclosure", 'e', ItemKind::Detector, EnclosureDetButton().getProcEntry()},
        {"dc", 'd', ItemKind::Detector, DCCableDetector().getProcEntry()},
    };
    for (const InputRow& row : inputRows) {
        Item item;
        item.name = row.name;
        item.kind = row.kind;
        item.key = row.key;
        if (row.kind == ItemKind::Button && std::string(row.name) == "reset" && profile.sysid == kShmemResetBoard) {
            item.sharedMemory = true;
        } else if (has(row.entry)) {
            item.input = row.entry;
            item.files.push_back(row.entry);
            claim(row.entry);
        } else {
            continue;
        }
        inputs.push_back(item);
    }

    std::map<std::string, size_t> groups;  // device or channel group -> index in leds/levels/rings
    for (const BoardProfile::Attribute& attribute : profile.attributes) {
        const std::string& path = attribute.path;
        if (claimed.count(path)) continue;
        const std::string directory = directoryOf(path);
        const std::string leaf = leafOf(path);
        const std::string device = leafOf(directory);
        if (startsWith(path, kMulticolor)) {
            if (!groups.count("ring")) {
                groups["ring"] = rings.size();
                rings.push_back(Item{"ring", ItemKind::Ring, {}, 0, "", false});
            }
            rings[groups["ring"]].files.push_back(path);
        } else if (startsWith(path, kLedClass + "ktd20") && (isKtdNode(leaf) || leaf == "brightness" || leaf == "mode")) {
            if (!groups.count(directory)) {
                groups[directory] = rings.size();
                rings.push_back(Item{device, ItemKind::Ring, {}, 0, "", false});
            }
            rings[groups[directory]].files.push_back(path);
        } else if (startsWith(path, kBacklight) || startsWith(path, kPwm)) {
            if (leaf == "npwm") continue;
            const std::string name = startsWith(path, kBacklight) ? "backlight " + device : device;
            if (!groups.count(directory)) {
                groups[directory] = levels.size();
                levels.push_back(Item{name, ItemKind::Level, {}, 0, "", false});
            }
            levels[groups[directory]].files.push_back(path);
        } else if (path == "/proc/gpio/white_led") {
            levels.push_back(Item{"white_led", ItemKind::Level, {path}, 0, "", false});
        } else {
            // LED-class devices (a directory with "brightness"), the channels of one RGB(W) LED
            // gathered into one cell, and channel files of one device.
            std::string group;
            std::string key;
            std::string name;
            const bool hasBrightness = has(directory + "/brightness");
            // (A class LED named by one letter, "/sys/class/leds/G", is an LED of its own.)
            if (hasBrightness && channelOf(device, group) != 0 && !(group.empty() && directoryOf(directory) == kLedClass.substr(0, kLedClass.size() - 1))) {
                key = directoryOf(directory) + "/" + group;
                name = group.empty() ? leafOf(directoryOf(directoryOf(directory))) : group;
            } else if (hasBrightness) {
                key = directory;
                name = device;
            } else if (channelOf(leaf, group) != 0) {
                key = directory + "/" + group;
                name = group;
            }
            if (key.empty()) {
                if ((attribute.mode & 0222) != 0) others.push_back(Item{path, ItemKind::File, {path}, 0, "", false});
                continue;
            }
            if (!groups.count(key)) {
                groups[key] = leds.size();
                leds.push_back(Item{name, ItemKind::Led, {}, 0, "", false});
            }
            leds[groups[key]].files.push_back(path);
        }
    }
    std::vector<Item> items;
    for (auto* part : {&leds, &rings, &levels, &inputs, &others}) items.insert(items.end(), part->begin(), part->end());
    return items;
}

void applySurvey(std::vector<Item>& items, const BoardSurveyResult& survey) {
    std::map<std::string, int> ringPosition;
    std::map<std::string, std::string> channel;
    std::map<std::string, std::string> face;
    for (const SurveyItem& surveyed : survey.items) {
        if (surveyed.kind != SurveyItem::Kind::Led || !surveyed.present) continue;
        for (const SurveyResource& resource : surveyed.resources) {
            if (resource.kind != SurveyResource::Kind::Attribute || !resource.exists) continue;
            if (resource.ringPosition >= 0 && !ringPosition.count(resource.path)) ringPosition[resource.path] = resource.ringPosition;
            if (!resource.channel.empty() && !channel.count(resource.path)) channel[resource.path] = resource.channel;
            if (!face.count(resource.path)) face[resource.path] = surveyed.name;
        }
    }
    for (Item& item : items) {
        std::string faceName;
        for (const std::string& file : item.files) {
            if (face.count(file) && faceName.empty()) faceName = face[file];
        }
        if (item.kind == ItemKind::Level) {
            for (const std::string& file : item.files) {
                if (channel.count(file) && (startsWith(channel[file], "ir ") || channel[file] == "accessory ir" ||
                                            channel[file] == "white light")) {
                    item.name = channel[file];
                    faceName.clear();
                }
            }
        }
        if (item.kind == ItemKind::Ring) {
            // Nodes in the face's order; the other files (brightness, mode) keep their place after.
            std::stable_sort(item.files.begin(), item.files.end(), [&](const std::string& a, const std::string& b) {
                const int pa = ringPosition.count(a) ? ringPosition[a] : INT32_MAX;
                const int pb = ringPosition.count(b) ? ringPosition[b] : INT32_MAX;
                return pa < pb;
            });
        }
        if (!faceName.empty() && (item.kind == ItemKind::Led || item.kind == ItemKind::Ring) && item.name != faceName) {
            item.name = faceName + " " + item.name;
        }
    }
}

Reading readItem(const Item& item, const FileReader& read) {
    const Reader reader{read};
    Reading reading;
    switch (item.kind) {
        case ItemKind::Led:
            return readLed(item, reader);
        case ItemKind::Ring:
            reading.cells = !item.files.empty() && startsWith(item.files.front(), kMulticolor) ? multicolorRing(item, reader)
                                                                                          : ktdRow(item, reader);
            reading.text = cellLetters(reading.cells);
            return reading;
        case ItemKind::Level:
            return readLevel(item, reader);
        case ItemKind::Button:
        case ItemKind::Detector: {
            std::string level;
            if (item.sharedMemory) {
                if (orva::sim::SharedMemory::exists(orva::sim::kResetButtonSegmentKey)) {
                    level = std::to_string(
                        orva::sim::SharedMemory::byte(orva::sim::kResetButtonSegmentKey, kResetButtonByte));
                } else {
                    reading.text = "no segment 0x162F yet";
                    return reading;
                }
            } else {
                bool exists = false;
                level = read(item.input, exists);
                if (!exists) {
                    reading.text = "no " + item.input;
                    return reading;
                }
            }
            while (!level.empty() && (level.back() == '\n' || level.back() == '\0' || level.back() == ' ')) level.pop_back();
            reading.active = level == "0";
            const bool button = item.kind == ItemKind::Button;
            reading.text = std::string(reading.active ? (button ? "pressed" : "active") : (button ? "released" : "inactive")) +
                           " (" + level + ")";
            return reading;
        }
        case ItemKind::File: {
            bool exists = false;
            reading.text = exists ? "" : "";
            std::string text = read(item.files.front(), exists);
            while (!text.empty() && (text.back() == '\n' || text.back() == '\0')) text.pop_back();
            reading.text = exists ? text : "(missing)";
            return reading;
        }
    }
    return reading;
}

bool readBoardMarker(const std::string& sandboxDirectory, uint32_t& sysid, std::string& variant) {
    std::ifstream in(sandboxDirectory + "/board");
    if (!in) return false;
    bool found = false;
    variant.clear();
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string key, value;
        words >> key >> value;
        if (key == "sysid") {
            char* end = nullptr;
            const unsigned long number = strtoul(value.c_str(), &end, 16);
            if (value.empty() || *end != '\0') return false;
            sysid = static_cast<uint32_t>(number);
            found = true;
        } else if (key == "variant") {
            variant = value;
        }
    }
    return found;
}

bool setInput(orva::sim::SimBoard& board, const Item& item, bool active, std::string& what) {
    const char* level = active ? "0" : "1";
    if (item.sharedMemory) {
        using orva::sim::SharedMemory;
        if (!SharedMemory::exists(orva::sim::kResetButtonSegmentKey)) {
            what = "no shared-memory segment 0x162F in this sandbox";
            return false;
        }
        SharedMemory::setByte(orva::sim::kResetButtonSegmentKey, kResetButtonByte, active ? 0 : 1);
        what = std::string("byte 271 of segment 0x162F = ") + level;
        return true;
    }
    if (item.input.empty() || !board.sandbox().hasAttribute(item.input)) {
        what = "the board has no " + (item.input.empty() ? item.name : item.input);
        return false;
    }
    // Replaced atomically: a process polling the entry reads the old or the new level.
    board.sandbox().setValue(item.input, level);
    what = item.input + " = " + level;
    return true;
}

}  // namespace orva::tool::view
