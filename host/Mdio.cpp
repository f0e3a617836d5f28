// MDIO access over the Linux MII ioctls of a network interface.
#include <cstring>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "orva/platform.h"

namespace orva::utils {

mdio::mdio() : socketFd(-1), phyId(0) {}

mdio::~mdio() {
    if (socketFd >= 0) close(socketFd);
}

bool mdio::init(const std::string& interface) {
    if (interface.empty() || interface.size() >= IFNAMSIZ) return false;
    if (socketFd < 0) socketFd = socket(AF_INET, SOCK_DGRAM, 0);
    if (socketFd < 0) return false;
    ifreq request{};
    memcpy(request.ifr_name, interface.c_str(), interface.size());
    if (ioctl(socketFd, SIOCGMIIPHY, &request) < 0) return false;
    auto* data = reinterpret_cast<mii_ioctl_data*>(&request.ifr_data);
    phyId = data->phy_id;
    interfaceName = interface;
    return true;
}

bool mdio::read(unsigned short reg, unsigned short& value) const {
    if (socketFd < 0 || interfaceName.empty()) return false;
    ifreq request{};
    memcpy(request.ifr_name, interfaceName.c_str(), interfaceName.size());
    auto* data = reinterpret_cast<mii_ioctl_data*>(&request.ifr_data);
    data->phy_id = phyId;
    data->reg_num = reg;
    if (ioctl(socketFd, SIOCGMIIREG, &request) < 0) return false;
    value = data->val_out;
    return true;
}

bool mdio::write(unsigned short reg, unsigned short value) {
    if (socketFd < 0 || interfaceName.empty()) return false;
    ifreq request{};
    memcpy(request.ifr_name, interfaceName.c_str(), interfaceName.size());
    auto* data = reinterpret_cast<mii_ioctl_data*>(&request.ifr_data);
    data->phy_id = phyId;
    data->reg_num = reg;
    data->val_in = value;
    return ioctl(socketFd, SIOCSMIIREG, &request) == 0;
}

}  // namespace orva::utils
