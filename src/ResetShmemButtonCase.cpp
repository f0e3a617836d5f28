#include "orva_gpio_utils/ResetShmemButtonCase.h"

#include <cerrno>
#include <cstring>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "platform/CameraInfoLookup.h"
#include "platform/Log.h"

namespace {
constexpr char kLogSource[] = "src/ResetShmemButtonCase";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogInfo;

constexpr uint32_t kShmemButtonBoard = 0xA564;
// The segment the producing process keeps; byte 271 is the reset-button level, 0 while pressed.
constexpr key_t kSegmentKey = 0x162F;
constexpr size_t kButtonByte = 271;
}  // namespace

ResetShmemButtonCase::ResetShmemButtonCase(bool consoleMode)
    : consoleMode_(consoleMode), segment_(nullptr), shmId_(-1), segmentSize_(0) {}

ResetShmemButtonCase::~ResetShmemButtonCase() {
    if (consoleMode_) return;
    // Also reached when attaching failed; the failed detach is then only worth a note.
    if (shmdt(segment_) != 0) ORVA_LOG(kLogInfo, 0, "shared memory detach failed (%s)", strerror(errno));
}

bool ResetShmemButtonCase::exists() const { return orva::gpioutils::boardId() == kShmemButtonBoard; }

bool ResetShmemButtonCase::initGPIO() {
    if (consoleMode_) return true;
    shmId_ = shmget(kSegmentKey, 0, 0);
    if (shmId_ == -1) {
        ORVA_LOG(kLogError, 0, "failed to get shared memory");
        return false;
    }
    void* attached = shmat(shmId_, nullptr, SHM_RDONLY);
    segment_ = static_cast<const uint8_t*>(attached);
    if (attached == reinterpret_cast<void*>(-1)) {
        ORVA_LOG(kLogError, 0, "Failed to attach shared memory");
        return false;
    }
    struct shmid_ds status {};
    if (shmctl(shmId_, IPC_STAT, &status) != 0) {
        ORVA_LOG(kLogError, 0, "Failed to get shared memory size");
        return false;
    }
    segmentSize_ = status.shm_segsz;
    return true;
}

bool ResetShmemButtonCase::readValue(bool& pressed) const {
    pressed = false;
    if (consoleMode_ || segmentSize_ == 0) return true;
    bool filledIn = false;
    for (size_t i = 0; i < segmentSize_ && !filledIn; ++i) filledIn = segment_[i] != 0;
    // The producer's segment is always larger than the button byte.
    if (filledIn) pressed = segment_[kButtonByte] == 0;
    return true;
}
