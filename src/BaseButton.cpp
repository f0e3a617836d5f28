#include "orva_gpio_utils/BaseButton.h"

#include "platform/Log.h"

namespace {
constexpr char kLogSource[] = "src/BaseButton";
using orva::gpioutils::kLogError;
}  // namespace

BaseButton::BaseButton()
    : initialized_(false), exists_(false), observer_(nullptr), holdInterval_(-1), pressStartMs_(0), holdCount_(0) {}

BaseButton::~BaseButton() = default;

bool BaseButton::init(IButtonEventsObserver* observer, int holdInterval) {
    if (initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    observer_ = observer;
    holdInterval_ = holdInterval;
    exists_ = exists();
    if (exists_ && !initGPIO()) {
        ORVA_LOG(kLogError, 0, "Failed to init GPIO");
        return false;
    }
    initialized_ = true;
    return true;
}

bool BaseButton::service() {
    if (!exists_) return true;
    const uint64_t now = nowMs();
    bool pressed = false;
    if (!readValue(pressed)) {
        ORVA_LOG(kLogError, 0, "Failed to read button GPIO");
        return false;
    }
    if (pressed) {
        if (pressStartMs_ == 0) {
            if (observer_ != nullptr) observer_->onButtonPressed();
            pressStartMs_ = now;
            holdCount_ = 0;
        }
        if (holdInterval_ >= 0) {
            // The product wraps in 32 bits, as on the camera, and is sign-extended before the sum.
            const int32_t offset = static_cast<int32_t>(holdCount_ * static_cast<uint32_t>(holdInterval_));
            const uint64_t deadline = pressStartMs_ + static_cast<uint64_t>(static_cast<int64_t>(offset));
            if (deadline < now) {
                if (observer_ != nullptr) observer_->onButtonHeld(static_cast<unsigned>(now - pressStartMs_));
                ++holdCount_;
            }
        }
    } else if (pressStartMs_ != 0) {
        if (observer_ != nullptr) observer_->onButtonReleased(static_cast<unsigned>(now - pressStartMs_));
        holdCount_ = 0;
        pressStartMs_ = 0;
    }
    return true;
}
