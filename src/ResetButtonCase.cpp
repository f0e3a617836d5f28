#include "orva_gpio_utils/ResetButtonCase.h"

#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "platform/CameraInfoLookup.h"
#include "platform/Log.h"

namespace {
constexpr char kLogSource[] = "src/ResetButtonCase";
using orva::gpioutils::kLogError;

constexpr uint32_t kShmemButtonBoard = 0xA564;
// Every client gets held events at the same pace, whatever it asks for.
constexpr int kHoldIntervalMs = 100;
}  // namespace

ResetButtonCase::ResetButtonCase() : button_(nullptr), initialized_(false) {}

ResetButtonCase::~ResetButtonCase() { delete button_; }

bool ResetButtonCase::init(IButtonEventsObserver* observer, int /*holdInterval*/) {
    BaseButton* button = nullptr;
    if (orva::gpioutils::boardId() == kShmemButtonBoard) {
        button = new ResetShmemButtonCase(ConsoleEnabled());
    } else {
        button = new ResetGPIOButtonCase;
    }
    delete button_;
    button_ = button;
    if (!button_->init(observer, kHoldIntervalMs)) {
        ORVA_LOG(kLogError, 0, "Failed to initialize reset button case");
        return false;
    }
    initialized_ = true;
    return true;
}

bool ResetButtonCase::service() {
    if (!initialized_) return false;
    return button_->service();
}
