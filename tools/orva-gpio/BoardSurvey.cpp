#include "BoardSurvey.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "orva/host_platform.h"
#include "orva/platform.h"
#include "orva_gpio_utils/BaseButton.h"
#include "orva_gpio_utils/BaseLed.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPhy.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/MulticolorLedFace.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RgbLedFace.h"
#include "orva_gpio_utils/RingButton.h"
#include "orva_gpio_utils/UartcliLedFace.h"

// The camera build of the tool has no simulator (ORVA_TOOL_SIMULATOR 0): the survey then only
// initialises on the real files.
#if ORVA_TOOL_SIMULATOR
#define ORVA_SURVEY_SIMULATOR 1
#include "orva/sim/Mdio.h"
#include "orva/sim/Programs.h"
#include "orva/sim/SimBoard.h"
#include "orva/sim/Uartcli.h"
#else
#define ORVA_SURVEY_SIMULATOR 0
#endif

namespace orva::tool {

namespace {

constexpr int kHoldIntervalMs = 100;
constexpr int kErrorLevel = 3;  // log levels 0..3 are errors or worse

// A button the survey drives: every button class has init, service and (except ResetButtonCase) exists.
class SurveyButton {
public:
    virtual ~SurveyButton() = default;
    virtual bool init(IButtonEventsObserver* observer) = 0;
    virtual bool service() = 0;
    virtual bool exists(bool initialised) const = 0;
};

template <typename Button>
class ButtonOf : public SurveyButton {
public:
    template <typename... Arguments>
    explicit ButtonOf(Arguments... arguments) : button_(arguments...) {}
    bool init(IButtonEventsObserver* observer) override { return button_.init(observer, kHoldIntervalMs); }
    bool service() override { return button_.service(); }
    bool exists(bool) const override { return button_.exists(); }

private:
    Button button_;
};

// ResetButtonCase says nothing about the button it picked: present when its init succeeded.
class ResetCase : public SurveyButton {
public:
    bool init(IButtonEventsObserver* observer) override { return reset_.init(observer, kHoldIntervalMs); }
    bool service() override { return reset_.service(); }
    bool exists(bool initialised) const override { return initialised; }

private:
    ResetButtonCase reset_;
};

class IgnoreEvents : public IButtonEventsObserver {
public:
    void onButtonPressed() override {}
    void onButtonReleased(unsigned) override {}
    void onButtonHeld(unsigned) override {}
};

struct ItemRow {
    SurveyItem::Kind kind;
    const char* name;
    const char* className;
    const char* what;
    std::function<std::unique_ptr<BaseLed>()> makeLed;
    std::function<std::unique_ptr<SurveyButton>()> makeButton;
};

template <typename Face>
ItemRow led(const char* name, const char* className, const char* what) {
    return ItemRow{
        SurveyItem::Kind::Led, name, className, what, [] { return std::unique_ptr<BaseLed>(new Face()); }, nullptr};
}

ItemRow button(const char* name, const char* className, const char* what,
               std::function<std::unique_ptr<SurveyButton>()> make) {
    return ItemRow{SurveyItem::Kind::Button, name, className, what, nullptr, std::move(make)};
}

const std::vector<ItemRow>& rows() {
    static const std::vector<ItemRow> table = {
        led<CompoundLedFace>("av", "CompoundLedFace", "AV colour LED and single-colour channels"),
        led<LedFace>("front", "LedFace", "front light"),
        led<LedGlow>("glow", "LedGlow", "glow light"),
        led<GreenLedFace>("green", "GreenLedFace", "green status LED"),
        led<LedIr>("ir", "LedIr", "infrared light, white light, accessory IR"),
        led<Ktd2061LedFace>("ktd", "Ktd2061LedFace", "status ring on KTD20xx drivers"),
        led<McuLedFace>("mcu", "McuLedFace", "LED kept by the microcontroller"),
        led<MulticolorLedFace>("multicolor", "MulticolorLedFace", "status ring on the multicolour LED class"),
        led<LedPhy>("phy", "LedPhy", "Ethernet PHY LED"),
        led<LedPower>("power", "LedPower", "power LED"),
        led<RgbLedFace>("rgb", "RgbLedFace", "RGB LED on the AV LED class"),
        led<LedSysfs>("sysfs", "LedSysfs", "LED-class colour LED"),
        led<UartcliLedFace>("uartcli", "UartcliLedFace", "microcontroller LEDs and white LED"),
        button("dc", "DCCableDetector", "DC-cable detector",
               [] { return std::unique_ptr<SurveyButton>(new ButtonOf<DCCableDetector>()); }),
        button("enclosure", "EnclosureDetButton", "enclosure detector",
               [] { return std::unique_ptr<SurveyButton>(new ButtonOf<EnclosureDetButton>()); }),
        button("reset", "ResetButtonCase", "reset button (the kind the board has)",
               [] { return std::unique_ptr<SurveyButton>(new ResetCase()); }),
        button("reset-gpio", "ResetGPIOButtonCase", "reset button on a proc entry",
               [] { return std::unique_ptr<SurveyButton>(new ButtonOf<ResetGPIOButtonCase>()); }),
        button("reset-shmem", "ResetShmemButtonCase", "reset button in shared memory",
               [] { return std::unique_ptr<SurveyButton>(new ButtonOf<ResetShmemButtonCase>(false)); }),
        button("ring", "RingButton", "ring button",
               [] { return std::unique_ptr<SurveyButton>(new ButtonOf<RingButton>()); }),
    };
    return table;
}

// Log records of one item, kept instead of printed.
class RecordCollector {
public:
    RecordCollector() {
        orva::host::setLogEcho(false);
        orva::host::setLogSink([this](const orva::host::LogRecord& record) {
            if (record.level <= kErrorLevel) errors_.push_back(orva::host::formatRecord(record));
        });
    }
    ~RecordCollector() {
        orva::host::setLogSink(nullptr);
        orva::host::setLogEcho(true);
    }
    std::vector<std::string> take() { return std::move(errors_); }

private:
    std::vector<std::string> errors_;
};

#if ORVA_SURVEY_SIMULATOR

// The operations a face is put through on a simulated board, so that files it opens only to write
// (colour files, the white light, animation attributes) show up too. Journal positions mark where
// each phase starts, for the roles.
struct Phase {
    size_t journalStart;
    std::string name;  // "init", "colour red", "white light", "accessory ir", ...
};

using PhaseMark = std::function<void(const std::string&)>;

void exerciseLed(BaseLed& face, const PhaseMark& mark) {
    mark("value");
    face.setValue(face.isBinary() ? 1 : 100, true);
    const std::pair<BaseLed::Color, const char*> colours[] = {{BaseLed::COLOR_RED, "red"},
                                                              {BaseLed::COLOR_GREEN, "green"},
                                                              {BaseLed::COLOR_BLUE, "blue"},
                                                              {BaseLed::COLOR_WHITE, "white"}};
    for (const auto& colour : colours) {
        mark(std::string("colour ") + colour.second);
        face.setColor(colour.first, BaseLed::COLOR_BLACK);
    }
    mark("value");
    if (face.isAnimSupported()) {
        mark("animation");
        face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE);
        face.setAnimDensity(50);
        face.setAnimEnable(true);
        face.setAnimStep(1);
        face.service();
        face.setAnimEnable(false);
        mark("value");
    }
    face.save();
    face.setValue(0, true);
    face.restore();
    if (face.hasAutoMode()) face.setAutoMode();
    if (auto* ir = dynamic_cast<LedIr*>(&face)) {
        // The handlers are bound by a successful init on a board with the light.
        mark("white light");
        ir->setWhiteLedOn(true);
        ir->setWhiteLedOn(false);
        mark("accessory ir");
        ir->accessoryIrOn(true);
        ir->accessoryIrOn(false);
        mark("value");
    }
}

std::string baseName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string roleOf(const std::string& path) {
    if (path.rfind("/proc/gpio/", 0) == 0) return "proc entry";
    std::string name = baseName(path);
    static const std::map<std::string, std::string> known = {
        {"brightness", "brightness"},
        {"duty_cycle", "duty cycle"},
        {"color_fg", "colour fg"},
        {"color_bg", "colour bg"},
        {"anim_density", "anim density"},
        {"anim_color_fg", "anim colour fg"},
        {"anim_color_bg", "anim colour bg"},
        {"anim_trigger", "anim trigger"},
        {"multi_intensity", "channel levels"},
        {"multi_index", "channel order"},
        {"max_brightness", "max brightness"},
        {"color", "colour fields"},
        {"mode", "mode"},
        {"trigger", "trigger"},
    };
    const auto found = known.find(name);
    if (found != known.end()) return found->second;
    if (name.rfind("usbcm65xx_led", 0) == 0) return "level";
    // Driver nodes of one LED or LED group ("A1", "LED3").
    if (!name.empty() && name.size() <= 4 && isupper(static_cast<unsigned char>(name[0]))) return "LED node";
    std::replace(name.begin(), name.end(), '_', ' ');
    return name;
}

// The colour a path names: an LED-class device called "R", "G", ... or "lp5012:G1", a USB
// controller file ending in the colour letter.
std::string channelOfPath(const std::string& path) {
    static const std::map<char, std::string> letters = {{'R', "red"}, {'G', "green"}, {'B', "blue"}, {'W', "white"}};
    const std::string directory = baseName(directoryOf(path));
    auto letter = [&](char c) -> std::string {
        const auto found = letters.find(static_cast<char>(toupper(static_cast<unsigned char>(c))));
        return found == letters.end() ? std::string() : found->second;
    };
    if (directory.size() == 1) return letter(directory[0]);
    const size_t colon = directory.rfind(':');
    if (colon != std::string::npos && directory.size() - colon == 3 &&
        isdigit(static_cast<unsigned char>(directory.back()))) {
        return letter(directory[colon + 1]);
    }
    const std::string name = baseName(path);
    if (name.rfind("usbcm65xx_led", 0) == 0 && name.size() == strlen("usbcm65xx_led") + 1) return letter(name.back());
    if (path == "/proc/gpio/white_led") return "white";
    return std::string();
}

bool isRingFace(const std::string& name) { return name == "multicolor" || name == "ktd"; }

// The LED node a file of a ring face belongs to; "" for a file of the whole driver.
std::string ringNodeOf(const std::string& face, const std::string& path) {
    const std::string directory = directoryOf(path);
    if (face == "multicolor") return directory;
    const std::string name = baseName(path);
    const std::string device = baseName(directory);
    if (device.rfind("ktd-ch", 0) == 0) return directory;
    if (name == "brightness" || name == "mode" || name == "max_brightness" || name == "trigger") return std::string();
    return path;
}

using orva::sim::Call;
using orva::sim::JournalEntry;

constexpr char kFactoryTool[] = "/bin/orva_isp_fac_cmd";

SurveyResource& resourceFor(std::vector<SurveyResource>& resources, SurveyResource::Kind kind,
                            const std::string& path) {
    for (SurveyResource& resource : resources) {
        if (resource.kind == kind && resource.path == path) return resource;
    }
    SurveyResource resource;
    resource.kind = kind;
    resource.path = path;
    resources.push_back(resource);
    return resources.back();
}

std::string phaseAt(const std::vector<Phase>& phases, size_t index) {
    std::string name = "init";
    for (const Phase& phase : phases) {
        if (phase.journalStart <= index) name = phase.name;
    }
    return name;
}

// A level written as decimal text ("39\0", "0 255 0") that is not all zero.
bool litLevel(const std::string& bytes) {
    bool lit = false;
    for (const char c : bytes) {
        if (c >= '1' && c <= '9') {
            lit = true;
        } else if (c != '0' && c != ' ' && c != '\n' && c != '\0') {
            return false;
        }
    }
    return lit;
}

void readResources(SurveyItem& item, const std::vector<JournalEntry>& journal, const std::vector<Phase>& phases,
                   orva::sim::SimBoard& board) {
    std::vector<std::string> initOpens;                     // paths opened during init, in order
    std::map<std::string, std::vector<std::string>> litIn;  // path -> colour phases with a non-zero write
    std::vector<std::string> ringNodes;
    for (size_t index = 0; index < journal.size(); ++index) {
        const JournalEntry& entry = journal[index];
        const std::string phase = phaseAt(phases, index);
        switch (entry.call) {
            case Call::Open:
            case Call::Read:
            case Call::Write:
            case Call::Close: {
                if (entry.path.empty()) break;
                SurveyResource& resource = resourceFor(item.resources, SurveyResource::Kind::Attribute, entry.path);
                if (entry.error != 0 && resource.error == 0) resource.error = entry.error;
                if (entry.call == Call::Open && entry.result >= 0 && entry.error == 0) resource.opened = true;
                if (entry.call == Call::Open && phase == "init" &&
                    std::find(initOpens.begin(), initOpens.end(), entry.path) == initOpens.end()) {
                    initOpens.push_back(entry.path);
                }
                if (entry.call == Call::Read) resource.read = true;
                if (entry.call == Call::Write) {
                    resource.written = true;
                    if (phase != "value" && phase != "init" && litLevel(entry.bytes)) {
                        std::vector<std::string>& phasesLit = litIn[entry.path];
                        if (std::find(phasesLit.begin(), phasesLit.end(), phase) == phasesLit.end())
                            phasesLit.push_back(phase);
                    }
                }
                if (isRingFace(item.name) && entry.call == Call::Open) {
                    const std::string node = ringNodeOf(item.name, entry.path);
                    if (!node.empty() && std::find(ringNodes.begin(), ringNodes.end(), node) == ringNodes.end()) {
                        ringNodes.push_back(node);
                    }
                }
                break;
            }
            case Call::Exec: {
                SurveyResource& resource = resourceFor(item.resources, SurveyResource::Kind::Program, entry.path);
                // Exists until a run fails to start.
                if (!resource.opened) resource.exists = true;
                resource.opened = true;
                if (entry.error != 0) {
                    resource.exists = false;
                    if (resource.error == 0) resource.error = entry.error;
                }
                if (entry.path == orva::sim::kUartcliPath) {
                    resource.role = "frames";
                    const orva::sim::UartcliFrame frame = orva::sim::decodeUartcliRun(entry.arguments);
                    resource.details.push_back(frame.description +
                                               (entry.result == 0 ? "" : ", exit " + std::to_string(entry.result)));
                } else {
                    resource.role = "program";
                    std::string text;
                    for (const std::string& argument : entry.arguments) text += (text.empty() ? "" : " ") + argument;
                    resource.details.push_back(text + " -> exit " + std::to_string(entry.result));
                }
                break;
            }
            case Call::Mdio: {
                SurveyResource& resource = resourceFor(item.resources, SurveyResource::Kind::Mdio, entry.path);
                const std::vector<orva::sim::MdioAccess> accesses = orva::sim::Mdio::accesses({entry});
                if (entry.error != 0 && resource.error == 0) resource.error = entry.error;
                for (const orva::sim::MdioAccess& access : accesses) {
                    if (access.kind == orva::sim::MdioAccess::Kind::Init && access.result == 0) resource.opened = true;
                    if (access.kind == orva::sim::MdioAccess::Kind::Read) resource.read = true;
                    if (access.kind == orva::sim::MdioAccess::Kind::Write) resource.written = true;
                    if (access.kind != orva::sim::MdioAccess::Kind::Init &&
                        std::find(resource.registers.begin(), resource.registers.end(), access.reg) ==
                            resource.registers.end()) {
                        resource.registers.push_back(access.reg);
                    }
                }
                resource.details.push_back(orva::sim::Mdio::describe(entry));
                break;
            }
            case Call::Shm: {
                if (entry.path != "shmget" && entry.path != "shmat") break;
                SurveyResource* resource = nullptr;
                if (entry.path == "shmget" && !entry.arguments.empty()) {
                    resource = &resourceFor(item.resources, SurveyResource::Kind::SharedMemory, entry.arguments[0]);
                    resource->read = true;
                    resource->role = "segment";
                    if (entry.result >= 0 && entry.error == 0) resource->exists = true;
                } else {
                    for (SurveyResource& candidate : item.resources) {
                        if (candidate.kind == SurveyResource::Kind::SharedMemory) resource = &candidate;
                    }
                    if (resource != nullptr && entry.error == 0) resource->opened = true;
                }
                if (resource != nullptr && entry.error != 0 && resource->error == 0) resource->error = entry.error;
                break;
            }
            case Call::Sleep: break;
        }
    }
    for (SurveyResource& resource : item.resources) {
        if (resource.kind == SurveyResource::Kind::Mdio) {
            resource.exists = orva::sim::Mdio::hasInterface(resource.path);
            char text[32];
            std::string role;
            for (const unsigned reg : resource.registers) {
                snprintf(text, sizeof(text), "%sregister 0x%02x", role.empty() ? "" : ", ", reg);
                role += text;
            }
            resource.role = role.empty() ? "PHY address" : role;
        }
        if (resource.kind != SurveyResource::Kind::Attribute) continue;
        resource.exists = board.sandbox().hasAttribute(resource.path);
        resource.role = roleOf(resource.path);
        resource.channel = channelOfPath(resource.path);
        const auto lit = litIn.find(resource.path);
        if (resource.channel.empty() && lit != litIn.end() && lit->second.size() == 1 &&
            lit->second[0].rfind("colour ", 0) == 0 && !isRingFace(item.name)) {
            resource.channel = lit->second[0].substr(strlen("colour "));
        }
        if (lit != litIn.end() && lit->second.size() == 1 && lit->second[0] == "white light")
            resource.channel = "white light";
        if (lit != litIn.end() && lit->second.size() == 1 && lit->second[0] == "accessory ir")
            resource.channel = "accessory ir";
        if (isRingFace(item.name)) {
            const std::string node = ringNodeOf(item.name, resource.path);
            const auto at = std::find(ringNodes.begin(), ringNodes.end(), node);
            if (!node.empty() && at != ringNodes.end())
                resource.ringPosition = static_cast<int>(at - ringNodes.begin());
        }
    }
    if (item.name == "ir") {
        // The infrared channels are opened first, in channel order; the white light and the
        // accessory output are known from the operations that wrote them.
        int channel = 1;
        for (const std::string& path : initOpens) {
            for (SurveyResource& resource : item.resources) {
                if (resource.kind != SurveyResource::Kind::Attribute || resource.path != path) continue;
                if (!resource.channel.empty()) continue;
                resource.channel = "ir " + std::to_string(channel++);
            }
        }
    }
}

SurveyItem surveyOne(const ItemRow& row, const orva::sim::BoardProfile& profile) {
    SurveyItem item;
    item.kind = row.kind;
    item.name = row.name;
    item.className = row.className;
    item.what = row.what;
    orva::sim::SimBoard board(profile);
    orva::sim::registerUartcli();
    orva::sim::registerProgram(kFactoryTool, 0);
    board.sandbox().clearJournal();
    std::vector<Phase> phases;
    const PhaseMark mark = [&](const std::string& name) { phases.push_back(Phase{board.journal().size(), name}); };
    {
        RecordCollector records;
        try {
            if (row.kind == SurveyItem::Kind::Led) {
                std::unique_ptr<BaseLed> face = row.makeLed();
                item.initialised = face->init(row.name);
                item.present = face->exists();
                item.managedByMcu = face->isManagedByMcu();
                if (item.initialised && item.present) exerciseLed(*face, mark);
                mark("teardown");
            } else {
                IgnoreEvents events;
                std::unique_ptr<SurveyButton> input = row.makeButton();
                item.initialised = input->init(&events);
                item.present = input->exists(item.initialised);
                if (item.initialised) {
                    input->service();
                    board.advanceMs(kHoldIntervalMs);
                    input->service();
                }
            }
        } catch (const std::exception& error) {
            item.errors.push_back(std::string("exception: ") + error.what());
        }
        const std::vector<std::string> errors = records.take();
        item.errors.insert(item.errors.end(), errors.begin(), errors.end());
    }
    readResources(item, board.journal(), phases, board);
    item.usable = item.present && item.initialised && item.errors.empty();
    return item;
}

#endif  // ORVA_SURVEY_SIMULATOR

}  // namespace

std::vector<std::pair<std::string, std::string>> surveyItemNames() {
    std::vector<std::pair<std::string, std::string>> names;
    for (const ItemRow& row : rows()) names.emplace_back(row.name, row.className);
    return names;
}

std::vector<bool> surveyPresence() {
    std::vector<bool> present;
    for (const ItemRow& row : rows()) {
        if (row.kind == SurveyItem::Kind::Led) {
            present.push_back(row.makeLed()->exists());
        } else {
            present.push_back(row.makeButton()->exists(true));
        }
    }
    return present;
}

bool surveyHasSimulator() { return ORVA_SURVEY_SIMULATOR != 0; }

#if ORVA_SURVEY_SIMULATOR
BoardSurveyResult surveySimulatedBoard(const orva::sim::BoardProfile& profile) {
    BoardSurveyResult survey;
    survey.sysid = profile.sysid;
    survey.variant = profile.variant;
    survey.boardName = profile.name;
    survey.simulated = true;
    for (const ItemRow& row : rows()) {
        if (row.kind == SurveyItem::Kind::Led) survey.items.push_back(surveyOne(row, profile));
    }
    for (const ItemRow& row : rows()) {
        if (row.kind == SurveyItem::Kind::Button) survey.items.push_back(surveyOne(row, profile));
    }
    return survey;
}
#else
BoardSurveyResult surveySimulatedBoard(const orva::sim::BoardProfile&) {
    throw std::runtime_error("this build has no simulator");
}
#endif

BoardSurveyResult surveyThisBoard() {
    BoardSurveyResult survey;
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    if (info.HasKey("sysid")) survey.sysid = static_cast<uint32_t>(static_cast<unsigned long long>(info["sysid"]));
    for (const SurveyItem::Kind kind : {SurveyItem::Kind::Led, SurveyItem::Kind::Button}) {
        for (const ItemRow& row : rows()) {
            if (row.kind != kind) continue;
            SurveyItem item;
            item.kind = row.kind;
            item.name = row.name;
            item.className = row.className;
            item.what = row.what;
            RecordCollector records;
            try {
                if (row.kind == SurveyItem::Kind::Led) {
                    std::unique_ptr<BaseLed> face = row.makeLed();
                    item.initialised = face->init(row.name);
                    item.present = face->exists();
                    item.managedByMcu = face->isManagedByMcu();
                } else {
                    IgnoreEvents events;
                    std::unique_ptr<SurveyButton> input = row.makeButton();
                    item.initialised = input->init(&events);
                    item.present = input->exists(item.initialised);
                }
            } catch (const std::exception& error) {
                item.errors.push_back(std::string("exception: ") + error.what());
            }
            const std::vector<std::string> errors = records.take();
            item.errors.insert(item.errors.end(), errors.begin(), errors.end());
            item.usable = item.present && item.initialised && item.errors.empty();
            survey.items.push_back(std::move(item));
        }
    }
    return survey;
}

namespace {

const char* kindName(SurveyResource::Kind kind) {
    switch (kind) {
        case SurveyResource::Kind::Attribute: return "file";
        case SurveyResource::Kind::Program: return "program";
        case SurveyResource::Kind::Mdio: return "mdio";
        case SurveyResource::Kind::SharedMemory: return "shm";
    }
    return "?";
}

std::string accessText(const SurveyResource& resource) {
    std::string text;
    if (resource.kind == SurveyResource::Kind::Attribute) {
        if (resource.read) text += "r";
        if (resource.written) text += "w";
        if (text.empty()) text = resource.opened ? "o" : "-";
    } else if (resource.kind == SurveyResource::Kind::Mdio) {
        if (resource.read) text += "r";
        if (resource.written) text += "w";
        if (text.empty()) text = "-";
    } else if (resource.kind == SurveyResource::Kind::Program) {
        text = "x";
    } else {
        text = resource.opened ? "rw" : "-";
    }
    return text;
}

}  // namespace

std::string surveyText(const BoardSurveyResult& survey) {
    std::string text;
    char line[512];
    if (survey.simulated) {
        snprintf(line, sizeof(line), "board 0x%04X%s%s: %s\n", survey.sysid, survey.variant.empty() ? "" : " variant ",
                 survey.variant.c_str(), survey.boardName.c_str());
    } else {
        snprintf(line, sizeof(line),
                 "board 0x%04X (this device; faces and buttons initialised on the real files, "
                 "files not traced)\n",
                 survey.sysid);
    }
    text += line;
    for (const SurveyItem& item : survey.items) {
        std::string state = !item.present       ? "absent"
                            : item.usable       ? "present"
                            : !item.initialised ? "present, init failed"
                                                : "present, errors logged";
        if (item.managedByMcu) state += ", kept by the microcontroller";
        snprintf(line, sizeof(line), "\n%-11s %-20s %s: %s\n", item.name.c_str(), item.className.c_str(),
                 item.what.c_str(), state.c_str());
        text += line;
        for (const SurveyResource& resource : item.resources) {
            std::string role = resource.role;
            if (!resource.channel.empty()) role += ", " + resource.channel;
            if (resource.ringPosition >= 0) role += ", ring " + std::to_string(resource.ringPosition);
            snprintf(line, sizeof(line), "  %-7s %-7s %-2s %s  (%s)%s%s\n", kindName(resource.kind),
                     resource.exists ? "exists" : "missing", accessText(resource).c_str(), resource.path.c_str(),
                     role.c_str(), resource.error != 0 ? "  " : "",
                     resource.error != 0 ? strerror(resource.error) : "");
            text += line;
            for (const std::string& detail : resource.details) text += "          " + detail + "\n";
        }
        for (const std::string& error : item.errors) text += "  log: " + error + "\n";
    }
    return text;
}

std::string surveyJsonLines(const BoardSurveyResult& survey) {
    std::string text;
    char sysid[16];
    snprintf(sysid, sizeof(sysid), "0x%04X", survey.sysid);
    for (const SurveyItem& item : survey.items) {
        nlohmann::json object;
        object["board"] = sysid;
        object["variant"] = survey.variant;
        object["simulated"] = survey.simulated;
        object["kind"] = item.kind == SurveyItem::Kind::Led ? "led" : "button";
        object["name"] = item.name;
        object["class"] = item.className;
        object["what"] = item.what;
        object["present"] = item.present;
        object["initialised"] = item.initialised;
        object["usable"] = item.usable;
        if (item.kind == SurveyItem::Kind::Led) object["managedByMcu"] = item.managedByMcu;
        nlohmann::json resources = nlohmann::json::array();
        for (const SurveyResource& resource : item.resources) {
            nlohmann::json entry;
            entry["kind"] = kindName(resource.kind);
            entry["path"] = resource.path;
            entry["exists"] = resource.exists;
            entry["opened"] = resource.opened;
            entry["read"] = resource.read;
            entry["written"] = resource.written;
            entry["role"] = resource.role;
            if (!resource.channel.empty()) entry["channel"] = resource.channel;
            if (resource.ringPosition >= 0) entry["ringPosition"] = resource.ringPosition;
            if (resource.error != 0) entry["errno"] = resource.error;
            if (!resource.registers.empty()) entry["registers"] = resource.registers;
            if (!resource.details.empty()) entry["details"] = resource.details;
            resources.push_back(entry);
        }
        object["resources"] = resources;
        object["errors"] = item.errors;
        text += object.dump() + "\n";
    }
    return text;
}

}  // namespace orva::tool
