#include "orva_gpio_utils/EnclosureDetButton.h"

#include "platform/CameraInfoLookup.h"

namespace {
constexpr uint32_t kEnclosureDetectorBoard = 0xA5B0;
}  // namespace

EnclosureDetButton::EnclosureDetButton() = default;
EnclosureDetButton::~EnclosureDetButton() = default;

bool EnclosureDetButton::exists() const { return orva::gpioutils::boardId() == kEnclosureDetectorBoard; }

std::string EnclosureDetButton::getProcEntry() const { return "/proc/gpio/enclosure_det"; }
