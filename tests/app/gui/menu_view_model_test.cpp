#include "app/gui/menu_view_model.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "app/gui/app_model_object.h"
#include "app/gui/theme.h"
#include "tests/core/model/model_fixture.h"

namespace kvillo {
namespace {

using testing::act;
using testing::kHour;
using testing::kMinute;

QString q(const char* utf8) {
    return QString::fromUtf8(utf8);
}

// The popup's view models over a model on a real store, in Norwegian unless
// a test switches.
class MenuViewModelTest : public testing::ModelFixture {
protected:
    MenuViewModelTest() { features_.setLanguage(Language::nb); }

    MenuViewModel& menu() {
        if (!menu_) {
            object_ = std::make_unique<AppModelObject>(model());
            menu_ = std::make_unique<MenuViewModel>(*object_, theme_);
        }
        return *menu_;
    }
    TaskCardViewModel& card() { return *menu().card(); }
    TaskEditorViewModel& editor() { return *menu().editor(); }
    TodaySectionViewModel& today() { return *menu().today(); }
    QVariantMap row(int index) { return today().rows().at(index).toMap(); }

    Theme theme_{"Archivo"};
    std::unique_ptr<AppModelObject> object_;
    std::unique_ptr<MenuViewModel> menu_;
};

// Unpaused, the label is "Jobber med" and the pause tooltip "Sett logging på
// pause"; paused, "Pause" and "Fortsett logging".
struct CardCase {
    const char* name;
    const char* project;  // saved first unless null
    std::optional<std::string> task;
    bool pause;
    const char* headline;
    bool question;
    const char* subtitle;
};
// Names the case in test listings instead of dumping its bytes.
void PrintTo(const CardCase& row, std::ostream* out) {
    *out << row.name;
}
const CardCase kCards[] = {
    {"Nothing", nullptr, std::nullopt, false, "Hva jobber du med?", true, ""},
    {"ProjectPrefixGoesToTheSubtitle", "Skarvelin", "Skarvelin \u2013 fix login", false,
     "Skarvelin", false, "fix login"},
    {"TaskEqualToTheProjectHasNoSubtitle", "Skarvelin", "Skarvelin", false, "Skarvelin", false, ""},
    {"ProjectNamedInsideKeepsTheWholeText", "Skarvelin", "fix Skarvelin login", false, "Skarvelin",
     false, "fix Skarvelin login"},
    {"NoProjectShowsTheTasksDisplayForm", nullptr, "Claude Code: /src/skarvelin/", false,
     "Claude Code \u00b7 skarvelin", false, ""},
    {"PausedTaskKeepsItsName", nullptr, "Rapport", true, "Rapport", false, ""},
};

class TaskCard : public MenuViewModelTest, public ::testing::WithParamInterface<CardCase> {};

TEST_P(TaskCard, LabelHeadlineSubtitleAndButtons) {
    const auto& row = GetParam();
    if (row.project) {
        db_.saveProject(row.project, {});
    }
    if (row.task) {
        model().startTask(std::nullopt, *row.task, start_ - 10 * kMinute);
    }
    if (row.pause) {
        model().togglePause();
    }
    EXPECT_EQ(card().label(), q(row.pause ? "Pause" : "Jobber med"));
    EXPECT_EQ(card().headline(), q(row.headline));
    EXPECT_EQ(card().headlineIsQuestion(), row.question);
    EXPECT_EQ(card().subtitle(), q(row.subtitle));
    EXPECT_EQ(card().showStop(), row.task.has_value());
    EXPECT_TRUE(card().showPause());
    EXPECT_EQ(card().pauseTooltip(), q(row.pause ? "Fortsett logging" : "Sett logging på pause"));
    EXPECT_EQ(card().paused(), row.pause);
}

INSTANTIATE_TEST_SUITE_P(Rules, TaskCard, ::testing::ValuesIn(kCards),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(MenuViewModelTest, LoggingOffHidesThePauseButtonAndShowsTheNotice) {
    EXPECT_FALSE(menu().loggingOff());
    model().set(Features::Key::activityLogging, false);
    EXPECT_TRUE(menu().loggingOff());
    EXPECT_FALSE(card().showPause());
    menu().turnOnLogging();
    EXPECT_FALSE(menu().loggingOff());
    EXPECT_TRUE(card().showPause());

    EXPECT_TRUE(menu().showTask());
    model().set(Features::Key::workingOn, false);
    EXPECT_FALSE(menu().showTask());
}

TEST_F(MenuViewModelTest, TheTimerCountsFromTheTicker) {
    EXPECT_EQ(card().clock(), q("\u2013:\u2013\u2013:\u2013\u2013"));
    model().startTask(std::nullopt, "Rapport", start_);
    int ticks = 0;
    QObject::connect(&card(), &TaskCardViewModel::clockChanged, [&] { ++ticks; });
    int others = 0;
    QObject::connect(&card(), &TaskCardViewModel::changed, [&] { ++others; });
    tick(2);
    EXPECT_EQ(ticks, 2);
    EXPECT_EQ(others, 0);
    EXPECT_EQ(card().clock(), "0:00:02");
}

struct PrefillCase {
    const char* name;
    std::optional<std::string> task;
    int projectIndex;
    const char* field;
};
void PrintTo(const PrefillCase& row, std::ostream* out) {
    *out << row.name;
}
const PrefillCase kPrefills[] = {
    {"Empty", std::nullopt, 0, ""},
    {"Prefixed", "Skarvelin \u2013 fix login", 2, "fix login"},
    {"ProjectAlone", "Skarvelin", 2, ""},
    {"NoProject", "Claude Code: /src/web/", 0, "Claude Code \u00b7 web"},
};

class EditorPrefill : public MenuViewModelTest,
                      public ::testing::WithParamInterface<PrefillCase> {};

TEST_P(EditorPrefill, TakesTheCurrentProjectAndTheTaskAsTheCardNamesIt) {
    db_.saveProject("Alpha", {});
    db_.saveProject("Skarvelin", {});
    if (GetParam().task) {
        model().startTask(std::nullopt, *GetParam().task, start_);
    }
    editor().setTask("left over");
    editor().setProjectIndex(1);
    editor().begin();
    EXPECT_EQ(editor().projectIndex(), GetParam().projectIndex);
    EXPECT_EQ(editor().task(), q(GetParam().field));
    EXPECT_TRUE(editor().showProjects());
    EXPECT_EQ(editor().projectChoices(), (QStringList{"Uten prosjekt", "Alpha", "Skarvelin"}));
}

INSTANTIATE_TEST_SUITE_P(Rules, EditorPrefill, ::testing::ValuesIn(kPrefills),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(MenuViewModelTest, EditorSavesAndReSavingAnUnchangedEditorKeepsTheText) {
    db_.saveProject("Skarvelin", {});
    editor().begin();
    editor().setProjectIndex(1);
    editor().setTask("  fix login ");
    editor().save();
    EXPECT_EQ(model().taskText(), "Skarvelin \u2013 fix login");

    clock_.advance(5 * kMinute);
    editor().begin();
    editor().save();
    const auto notes = annotations();
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[1].text, "Skarvelin \u2013 fix login");
    EXPECT_FALSE(notes[1].endedAt);
}

TEST_F(MenuViewModelTest, EditorWithoutProjectsHasNoPickerAndIgnoresAStaleChoice) {
    editor().begin();
    EXPECT_FALSE(editor().showProjects());
    editor().setProjectIndex(3);
    editor().setTask("Rapport");
    editor().save();
    EXPECT_EQ(model().taskText(), "Rapport");
}

TEST_F(MenuViewModelTest, TodayByProjectWithTheUnmatchedTimeLastAndShortBarsKept) {
    db_.saveProject("Alpha", {"login"});
    db_.saveProject("Beta", {"beta"});
    db_.insert(act("Firefox", start_ - 2 * kHour, start_ - kHour, "Alpha login"));
    db_.insert(act("Firefox", start_ - kHour, start_ - kHour + 20, "beta docs"));
    db_.insert(act("Mail", start_ - 30 * kMinute, start_, "Inbox"));
    model().refresh();

    EXPECT_TRUE(today().projectsMode());
    EXPECT_EQ(today().title(), "Prosjekter i dag");
    ASSERT_EQ(today().rows().size(), 3);
    EXPECT_EQ(row(0)["name"], "Alpha");
    EXPECT_EQ(row(0)["duration"], "1t 00m");
    EXPECT_EQ(row(0)["barWidth"].toDouble(), TodaySectionViewModel::kTrackWidth);
    EXPECT_EQ(row(0)["color"].value<QColor>(), QColor(0xBC72F7));  // first in the store
    EXPECT_EQ(row(1)["name"], "Beta");
    EXPECT_EQ(row(1)["barWidth"].toDouble(), TodaySectionViewModel::kMinimumBar);
    EXPECT_EQ(row(1)["color"].value<QColor>(), QColor(0x5FA87F));  // second project
    EXPECT_EQ(row(2)["name"], "Uten prosjekt");
    EXPECT_EQ(row(2)["barWidth"].toDouble(), TodaySectionViewModel::kTrackWidth / 2);
    EXPECT_EQ(row(2)["color"].value<QColor>(), QColor(0xCFCFCF));

    theme_.setDark(true);
    EXPECT_EQ(row(1)["color"].value<QColor>(), QColor(0x3E7E59));
    EXPECT_EQ(row(2)["color"].value<QColor>(), QColor(0x4A4D55));
    EXPECT_EQ(menu().todayText(), "I dag 1t 30m");
}

TEST_F(MenuViewModelTest, TodayListsTheFirstFiveAppsWithoutProjects) {
    EXPECT_EQ(today().emptyText(), "Ingenting logget ennå");
    EXPECT_TRUE(today().rows().isEmpty());
    for (int i = 0; i < 7; ++i) {
        db_.insert(act("App " + std::to_string(i), start_ - (i + 1) * kHour,
                       start_ - (i + 1) * kHour + (10 - i) * kMinute));
    }
    model().refresh();
    EXPECT_FALSE(today().projectsMode());
    EXPECT_EQ(today().title(), "Apper i dag");
    ASSERT_EQ(today().rows().size(), TodaySectionViewModel::kMaximumApps);
    EXPECT_EQ(row(0)["name"], "App 0");
    EXPECT_EQ(row(4)["name"], "App 4");
    EXPECT_EQ(row(4)["color"].value<QColor>(), theme_.color("lavender"));
}

TEST(MenuFooter, AtMostOneUpdateRow) {
    const auto actions = [](const UpdateState& state) {
        QStringList out;
        for (const auto& row : MenuViewModel::footerRows(state, Language::nb)) {
            out.push_back(row.toMap()["action"].toString() + ":" + row.toMap()["title"].toString());
        }
        return out;
    };
    const QString plain = "overview:Oversikt|settings:Innstillinger|quit:Avslutt Kvillo";
    EXPECT_EQ(actions(updates::Idle{}).join('|'), plain);
    EXPECT_EQ(actions(updates::Downloading{}).join('|'), plain);
    ReleaseInfo release;
    release.tag = "v1.2.0";
    updates::ReadyToInstall ready;
    ready.file = "/tmp/k.deb";
    EXPECT_EQ(actions(updates::Available{release}).join('|'),
              "overview:Oversikt|download:Last ned oppdatering v1.2.0|" + plain.mid(18));
    EXPECT_EQ(actions(ready).join('|'),
              "overview:Oversikt|install:Installer oppdatering|" + plain.mid(18));
}

TEST_F(MenuViewModelTest, FollowsTheLanguageSettingLive) {
    model().startTask(std::nullopt, "Rapport", start_);
    int changes = 0;
    QObject::connect(&menu(), &MenuViewModel::changed, [&] { ++changes; });
    object_->setLanguage("en");
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(menu().todayText(), "Today 0m");
    EXPECT_EQ(card().label(), "Working on");
    EXPECT_EQ(card().stopTooltip(), "End task");
    EXPECT_EQ(editor().startText(), "Start");
    EXPECT_EQ(editor().cancelText(), "Cancel");
    EXPECT_EQ(today().title(), "Apps today");
    EXPECT_EQ(menu().footerRows().last().toMap()["title"], "Quit Kvillo");
    object_->setLanguage("fr");
    EXPECT_EQ(card().label(), "En cours");
    object_->setLanguage("nb");
    EXPECT_EQ(card().label(), "Jobber med");
}

}  // namespace
}  // namespace kvillo
