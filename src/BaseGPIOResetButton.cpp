#include "orva_gpio_utils/BaseGPIOResetButton.h"

#include "platform/AttributeFile.h"

namespace {
constexpr char kLogSource[] = "src/BaseGPIOResetButton";
namespace attribute = orva::gpioutils::attribute;
}  // namespace

BaseGPIOResetButton::BaseGPIOResetButton() : fd_(-1), lowActive_(true) {}

BaseGPIOResetButton::~BaseGPIOResetButton() { attribute::close(fd_); }

bool BaseGPIOResetButton::initGPIO() {
    const std::string path = getProcEntry();
    fd_ = attribute::open(ORVA_HERE, path.c_str());
    return attribute::isOpen(fd_);
}

bool BaseGPIOResetButton::readValue(bool& pressed) const {
    int level = 0;
    if (!attribute::readNumber(ORVA_HERE, fd_, level)) return false;
    pressed = lowActive_ ? level == 0 : level == 1;
    return true;
}

void BaseGPIOResetButton::setLowActive(bool lowActive) { lowActive_ = lowActive; }
