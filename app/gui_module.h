#pragma once

#include <QCoreApplication>

#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace kvillo {

// Loads the graphical module beside the running executable and makes the
// tray's application with it. Gives the reason when that cannot be done.
std::variant<std::unique_ptr<QCoreApplication>, std::string> makeGuiApplication(int& argc,
                                                                                char** argv);

}  // namespace kvillo
