#include "platform/linux/user_account.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace kvillo {

std::string fullUserName() {
    long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
    passwd entry{};
    passwd* account = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &account) != 0 ||
        !account) {
        return {};
    }
    std::string gecos = account->pw_gecos ? account->pw_gecos : "";
    std::string name = gecos.substr(0, gecos.find(','));
    if (!name.empty()) {
        return name;
    }
    return account->pw_name ? account->pw_name : "";
}

}  // namespace kvillo
