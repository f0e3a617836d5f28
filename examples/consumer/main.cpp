// Initialises the power LED, which no board has, and reports what the library answered.
#include <cstdio>

#include <orva/platform.h>
#include <orva_gpio_utils/LedPower.h>

int main() {
    orva::variant::CameraInfo::instance()["sysid"] = 0xA533ULL;
    LedPower power;
    const bool ok = power.init("power");
    printf("power LED: init %s, exists %s\n", ok ? "ok" : "failed", power.exists() ? "yes" : "no");
    return ok ? 0 : 1;
}
