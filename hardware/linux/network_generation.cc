#include "hardware/linux/network_generation.h"

#include <linux/netlink.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "hardware/linux/netlink_socket.h"
#include "platform/glim/record.h"

namespace Hardware::Linux {

std::uint64_t networkGeneration() {
  std::string text;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> text;
  text += '/';
  if (auto const cookie = NetlinkSocket(NETLINK_ROUTE).networkNamespaceCookie()) {
    text += std::to_string(*cookie);
  } else {
    // An older kernel: the inode is used again after the namespace is gone, but seldom soon.
    struct stat about {};
    if (stat("/proc/self/ns/net", &about) == 0) text += "inode" + std::to_string(about.st_ino);
  }
  return Glim::schemaHashOf(text);  // FNV-1a
}

}  // namespace Hardware::Linux
