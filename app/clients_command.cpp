#include "app/clients_command.h"

#include <iomanip>
#include <string>
#include <vector>

#include "core/localisation/l10n.h"
#include "core/mcp/mcp_server.h"
#include "core/text/join.h"
#include "platform/linux/instance_lock.h"

namespace kvillo {
namespace {

// Wide enough for the longest command-line name and display name.
constexpr int kColumn = 16;

std::string stateText(const McpClientState& state, Language language) {
    switch (state.status) {
        case McpClientStatus::connected:
            return L10n::string(language, "Koblet til");
        case McpClientStatus::notConnected:
            return L10n::string(language, "Ikke koblet til");
        case McpClientStatus::notInstalled:
            return L10n::string(language, "Ikke installert");
        case McpClientStatus::unusable:
            return state.problem->summary(language);
    }
    return {};
}

}  // namespace

McpInstaller commandLineInstaller(const AppPaths& paths) {
    auto port = InstanceLock::runningMcpPort(paths.dataFolder).value_or(McpServerOptions{}.port);
    return McpInstaller(McpServer::endpointURL(port));
}

int runListClients(const McpInstaller& installer, Language language, std::ostream& out) {
    for (McpClient client : McpClients::allCases()) {
        out << std::left << std::setw(kColumn) << McpClients::commandLineName(client)
            << std::setw(kColumn) << McpClients::displayName(client)
            << stateText(installer.state(client), language) << "\n";
    }
    return 0;
}

int runConnectClients(const ConnectClients& request, McpInstaller& installer, Language language,
                      std::ostream& out, std::ostream& err) {
    std::vector<McpClient> clients;
    if (request.client) {
        clients.push_back(*request.client);
    } else {
        for (McpClient client : McpClients::allCases()) {
            clients.push_back(client);
        }
    }
    std::vector<std::string> changed;
    bool failed = false;
    for (McpClient client : clients) {
        std::string name(McpClients::displayName(client));
        bool skip = !request.client && (request.connect ? installer.state(client).status ==
                                                              McpClientStatus::notInstalled
                                                        : !installer.isInstalled(client));
        if (!skip) {
            try {
                request.connect ? installer.install(client) : installer.uninstall(client);
                changed.push_back(name);
            } catch (const McpInstallError& error) {
                err << "kvillo: " << name << ": " << error.description(language) << "\n";
                failed = true;
                continue;
            }
        }
        out << name << ": " << stateText(installer.state(client), language) << "\n";
    }
    if (!changed.empty()) {
        out << L10n::string(language, "Start %@ på nytt for at endringen skal virke.",
                            {join(changed, ", ")})
            << "\n";
    }
    return failed ? 1 : 0;
}

}  // namespace kvillo
