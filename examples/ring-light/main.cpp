// A firmware process in miniature: polls the doorbell's ring button and lights the glow light
// while it is held. Runs on the camera as it is, or on a development host on a simulated board:
//     orva-gpio run --board 0xA575 --sandbox /tmp/bell -- ./ring-light
// and, from another terminal: orva-gpio --board 0xA575 --sandbox /tmp/bell --reuse button ring press
// "--rings N" ends the process after N rings (press and release); it otherwise runs until SIGTERM
// or SIGINT.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "RingLight.h"

namespace {
volatile sig_atomic_t gStop = 0;
void stop(int) { gStop = 1; }
constexpr useconds_t kPollUs = 20000;
}  // namespace

int main(int argc, char** argv) {
    unsigned rings = 0;
    if (argc == 3 && strcmp(argv[1], "--rings") == 0) {
        rings = static_cast<unsigned>(strtoul(argv[2], nullptr, 10));
    } else if (argc != 1) {
        fprintf(stderr, "usage: ring-light [--rings N]\n");
        return 2;
    }
    signal(SIGTERM, stop);
    signal(SIGINT, stop);
    RingLight light;
    if (!light.init()) {
        fprintf(stderr, "ring-light: this board has no ring button and glow light\n");
        return 1;
    }
    printf("ring-light: ready\n");
    fflush(stdout);
    while (!gStop && (rings == 0 || light.releases() < rings)) {
        if (!light.poll()) fprintf(stderr, "ring-light: cannot read the ring button\n");
        usleep(kPollUs);
    }
    printf("ring-light: %u rings\n", light.releases());
    return 0;
}
