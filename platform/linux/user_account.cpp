#include "platform/linux/user_account.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace kvillo {

std::string fullNameFrom(std::string_view gecos, std::string_view login) {
    std::string_view name = gecos.substr(0, gecos.find(','));
    return std::string(name.empty() ? login : name);
}

std::string fullUserName() {
    long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 1024);
    passwd entry{};
    passwd* account = nullptr;
    int error;
    // Large directory entries need a larger buffer than the system suggests.
    while ((error = ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &account)) ==
               ERANGE &&
           buffer.size() < (1u << 20)) {
        buffer.resize(buffer.size() * 2);
    }
    if (error != 0 || !account) {
        return {};
    }
    return fullNameFrom(account->pw_gecos ? account->pw_gecos : "",
                        account->pw_name ? account->pw_name : "");
}

}  // namespace kvillo
