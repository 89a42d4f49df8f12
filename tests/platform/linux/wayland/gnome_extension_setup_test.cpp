#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/wayland/gnome_extension_setup.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using Status = GnomeExtensionStatus;
using State = ShellExtensionState;

// The user's org.gnome.shell extension settings, in memory.
struct FakeSettings : ShellExtensionSettings {
    std::vector<std::string> enabled{"other@example.org"};
    bool off = false;
    bool enableFails = false;
    int enableCalls = 0;

    std::optional<bool> isEnabled(const std::string& uuid) override {
        return std::find(enabled.begin(), enabled.end(), uuid) != enabled.end();
    }
    bool extensionsOff() override { return off; }
    bool enable(const std::string& uuid) override {
        ++enableCalls;
        if (enableFails) {
            return false;
        }
        if (!isEnabled(uuid).value()) {
            enabled.push_back(uuid);
        }
        return true;
    }
};

std::map<std::string, std::string> filesIn(const std::string& folder) {
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        files[entry.path().filename().string()] = testing::readFile(entry.path().string());
    }
    return files;
}

// Setting up in fresh folders, with the settings in memory.
struct Trial {
    TempFolder folder;
    GnomeExtensionPlaces places{.dataDirs = {folder.file("usr/share")},
                                .dataHome = folder.file("data"),
                                .markerFile = folder.file("config/kvillo/gnome-extension-enabled")};
    FakeSettings settings;
    std::ostringstream log;

    std::string userCopy() const {
        return places.dataHome + "/gnome-shell/extensions/" + kGnomeExtensionUUID;
    }
    Status run(std::optional<State> state = std::nullopt) {
        log.str("");
        return setUpGnomeExtension(places, kEmbeddedGnomeExtension, settings, state, log);
    }
};

TEST(GnomeExtensionSetup, CopiesTheProgramsFilesPerUserAndSwitchesThemOnOnce) {
    Trial trial;
    EXPECT_EQ(trial.run(), Status::nextLogin);
    EXPECT_EQ(filesIn(trial.userCopy()), filesIn(KVILLO_GNOME_EXTENSION_DIR));
    EXPECT_EQ(filesIn(trial.userCopy()).size(), 2u);
    EXPECT_EQ(trial.settings.enabled,
              (std::vector<std::string>{"other@example.org", kGnomeExtensionUUID}));
    EXPECT_NE(trial.log.str().find("enabled Kvillo's GNOME Shell extension"), std::string::npos)
        << trial.log.str();
    EXPECT_NE(trial.log.str().find("next login"), std::string::npos);
    std::string said = trial.log.str();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    EXPECT_TRUE(fs::exists(trial.places.markerFile));

    // Started again before the next login: nothing more to switch on.
    EXPECT_EQ(trial.run(), Status::nextLogin);
    EXPECT_EQ(trial.settings.enableCalls, 1);
    EXPECT_EQ(trial.log.str().find("enabled"), std::string::npos) << trial.log.str();
}

TEST(GnomeExtensionSetup, ReplacesAnOlderCopyWhole) {
    Trial trial;
    fs::create_directories(trial.userCopy());
    testing::writeFile(trial.userCopy() + "/metadata.json", "{\"version\": 0}");
    testing::writeFile(trial.userCopy() + "/stylesheet.css", "left from an old version");
    trial.run();
    EXPECT_EQ(filesIn(trial.userCopy()), filesIn(KVILLO_GNOME_EXTENSION_DIR));
    // No staging folder left beside the folder the Shell scans.
    EXPECT_EQ(std::distance(fs::directory_iterator(trial.places.dataHome + "/gnome-shell"),
                            fs::directory_iterator()),
              1);
}

TEST(GnomeExtensionSetup, ASystemWideCopyNeedsNoneOfTheUsersUnlessOneHidesIt) {
    Trial trial;
    std::string system =
        trial.places.dataDirs[0] + "/gnome-shell/extensions/" + std::string(kGnomeExtensionUUID);
    fs::create_directories(system);
    testing::writeFile(system + "/metadata.json", "{}");
    EXPECT_EQ(trial.run(), Status::nextLogin);
    EXPECT_FALSE(fs::exists(trial.userCopy()));
    EXPECT_EQ(trial.settings.enableCalls, 1);

    // The Shell prefers a per-user copy: one left from a build is kept current.
    fs::create_directories(trial.userCopy());
    testing::writeFile(trial.userCopy() + "/metadata.json", "{\"version\": 0}");
    trial.run();
    EXPECT_EQ(filesIn(trial.userCopy()), filesIn(KVILLO_GNOME_EXTENSION_DIR));
}

TEST(GnomeExtensionSetup, AUserWhoSwitchedItOffIsLeftAlone) {
    Trial trial;
    trial.run(State::enabled);
    trial.settings.enabled = {"other@example.org"};
    EXPECT_EQ(trial.run(State::disabled), Status::disabledByUser);
    EXPECT_EQ(trial.settings.enableCalls, 1);
    EXPECT_EQ(trial.settings.enabled, std::vector<std::string>{"other@example.org"});
    EXPECT_NE(trial.log.str().find("switched off"), std::string::npos) << trial.log.str();
}

TEST(GnomeExtensionSetup, TheShellsStateDecidesWhatIsMissingAndWhatIsSaid) {
    struct Row {
        const char* name;
        bool switchedOnBefore;  // the marker is there and the setting on
        std::optional<State> state;
        bool extensionsOff;
        Status expected;
        const char* said;  // in the line; "" for no line
    };
    const std::vector<Row> rows = {
        {"unknown to the Shell", false, std::nullopt, false, Status::nextLogin, "next login"},
        {"running", false, State::enabled, false, Status::running, ""},
        {"known, switched on now", false, State::initialized, false, Status::enabledNow, "enabled"},
        {"disabled, switched on now", false, State::disabled, false, Status::enabledNow, "enabled"},
        {"disabled while locked", true, State::disabled, false, Status::running, ""},
        {"error", false, State::error, false, Status::failed, "could not run"},
        {"out of date", true, State::outOfDate, false, Status::outOfDate, "other versions"},
        {"all extensions off", false, State::initialized, true, Status::extensionsOff,
         "extensions are switched off"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Trial trial;
        if (row.switchedOnBefore) {
            trial.run();
        }
        trial.settings.off = row.extensionsOff;
        EXPECT_EQ(trial.run(row.state), row.expected);
        if (std::string(row.said).empty()) {
            EXPECT_EQ(trial.log.str(), "");
        } else {
            EXPECT_NE(trial.log.str().find(row.said), std::string::npos) << trial.log.str();
        }
    }
}

TEST(GnomeExtensionSetup, WhatCannotBeInstalledOrSwitchedOnIsSaidAndTriedAgainNextTime) {
    Trial unwritable;
    testing::writeFile(unwritable.places.dataHome, "a file where the folder should be");
    EXPECT_EQ(unwritable.run(), Status::unavailable);
    EXPECT_EQ(unwritable.settings.enableCalls, 0);
    EXPECT_NE(unwritable.log.str().find("could not install"), std::string::npos);

    Trial refused;
    refused.settings.enableFails = true;
    EXPECT_EQ(refused.run(), Status::unavailable);
    EXPECT_NE(refused.log.str().find("could not switch on"), std::string::npos);
    EXPECT_FALSE(fs::exists(refused.places.markerFile));
}

TEST(GnomeExtensionSetup, GSettingsStringArraysAreRead) {
    using Strings = std::vector<std::string>;
    struct Row {
        const char* text;
        std::optional<Strings> expected;
    };
    const std::vector<Row> rows = {
        {"@as []\n", Strings{}},
        {"['a@b']\n", Strings{"a@b"}},
        {"['a@b', 'focus-bridge@kvillo.io']\n", Strings{"a@b", "focus-bridge@kvillo.io"}},
        {"[\"it's\", 'x']", Strings{"it's", "x"}},
        {"['back\\\\slash', 'quo\\'te']", Strings{"back\\slash", "quo'te"}},
        {"", std::nullopt},
        {"['a'", std::nullopt},
        {"['a' 'b']", std::nullopt},
        {"['a'] trailing", std::nullopt},
        {"No such schema “org.gnome.shell”\n", std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(parseStringArray(row.text), row.expected);
    }
}

}  // namespace
}  // namespace kvillo
