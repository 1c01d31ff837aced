// SPDX-License-Identifier: MIT
// What this user may do on this machine.
#include "base/Failure.h"
#include "checkup/doctor/Checks.h"
#include "frames/TapDevice.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace orvo::host {
namespace {

bool hasCapability(unsigned number) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) return false;
    return (data[CAP_TO_INDEX(number)].effective & CAP_TO_MASK(number)) != 0;
}

} // namespace

Checks permissionChecks() {
    const auto check = [](unsigned number, const char* name, const char* need, const std::string& mend) {
        return hasCapability(number)
                   ? Check{name, Verdict::Good, "granted"}
                   : Check{name, Verdict::Warning, std::string("not granted: ") + need, mend};
    };
    return {check(CAP_NET_ADMIN, "CAP_NET_ADMIN", "'bridge' needs a TAP that was made for you",
                  "sudo ip tuntap add orvo0 mode tap user $USER"),
            check(CAP_NET_RAW, "CAP_NET_RAW", "the simulated board's packet: wires do not work",
                  // Not on the program's file: the loader would no longer look for libraries beside it.
                  "sudo setpriv --reuid $USER --regid $(id -g) --init-groups --inh-caps=+net_raw "
                  "--ambient-caps=+net_raw $SHELL")};
}

Check tapDriverCheck(const std::filesystem::path& device) {
    const int descriptor = open(device.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        const int reason = errno;
        return {"TAP driver", Verdict::Warning,
                "'bridge' does not work: cannot open " + quoted(device.string()) + ": " + systemError(reason),
                tapDriverMend(device.string(), reason)};
    }
    close(descriptor);
    return {"TAP driver", Verdict::Good, device.string() + " can be opened"};
}

} // namespace orvo::host
