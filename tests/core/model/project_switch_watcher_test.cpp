#include <gtest/gtest.h>

#include "core/localisation/l10n.h"
#include "tests/core/model/model_fixture.h"

namespace kvillo {
namespace {

using testing::kMinute;
using Key = Features::Key;
using Watcher = ProjectSwitchWatcher;

// A task on Alpha from 09:00; the test then works in windows that name
// projects (or none) and lets the model's half-minute check run.
class SwitchWatcher : public testing::ModelFixture {
protected:
    SwitchWatcher() {
        db_.saveProject("Alpha", {"alpha"});
        db_.saveProject("Beta", {"beta"});
        db_.saveProject("Gamma", {"gamma"});
        model().startTask("Alpha", "plan", start_);
    }

    // Work of `seconds` in a window titled `title`, from the end of the last.
    TimePoint work(const std::string& title, Duration seconds) {
        const TimePoint from = clock_.now();
        db_.insert(testing::act("Editor", from, from + seconds, title));
        clock_.set(from + seconds);
        return from;
    }
    // Runs ticks up to and through the next check.
    void check() { tick(AppModel::kTicksPerRefresh - (ticks_ % AppModel::kTicksPerRefresh)); }
    void tick(int seconds) {
        ticks_ += seconds;
        ModelFixture::tick(seconds);
    }
    // The projects proposed so far.
    std::vector<std::string> asked() {
        std::vector<std::string> out;
        for (const auto& question : notifications_.posted) {
            out.push_back(question.title);
        }
        return out;
    }
    std::string title(const std::string& project) {
        return L10n::string(L10n::language(features_), "Jobber du med %@?", {project});
    }
    void answer(const std::string& action) {
        notifications_.answer(action);
        uiThread_.runPending();
    }

    int ticks_ = 0;
};

TEST_F(SwitchWatcher, AsksAfterFiveMinutesOnAnotherProject) {
    const TimePoint since = work("beta.cpp", Watcher::kThreshold - 1);
    check();
    EXPECT_TRUE(notifications_.posted.empty());
    work("beta.h", 1);
    check();
    ASSERT_EQ(notifications_.posted.size(), 1u);
    const auto language = L10n::language(features_);
    const auto& question = notifications_.posted[0];
    EXPECT_EQ(question.requestID, Watcher::kRequestID);
    EXPECT_EQ(question.title, title("Beta"));
    EXPECT_EQ(question.body, L10n::string(language, "Du har en oppgave i gang på %@. Bytte til %@?",
                                          {std::string("Alpha"), std::string("Beta")}));
    EXPECT_EQ(question.actions,
              (std::vector<Question::Action>{
                  {Watcher::kSwitchAction, L10n::string(language, "Bytt til %@", {"Beta"})},
                  {Watcher::kKeepAction, L10n::string(language, "Fortsett med %@", {"Alpha"})}}));
    EXPECT_EQ(model().switchWatcher().pending()->since, since);
}

TEST_F(SwitchWatcher, OnlyTheNewestUninterruptedRunCounts) {
    work("beta.cpp", 200);
    work("alpha.cpp", 60);  // the current project ends the walk
    const TimePoint since = work("beta.cpp", 200);
    check();
    EXPECT_TRUE(notifications_.posted.empty());

    work("Inbox", 600);  // matches nothing: neither ends the run nor counts
    work("beta.cpp", 100);
    check();
    ASSERT_EQ(asked(), std::vector{title("Beta")});
    EXPECT_EQ(model().switchWatcher().pending()->since, since);
}

TEST_F(SwitchWatcher, TheNewestOtherProjectIsProposed) {
    work("beta.cpp", 600);
    work("gamma.cpp", 300);
    check();
    EXPECT_EQ(asked(), std::vector{title("Gamma")});
}

TEST_F(SwitchWatcher, SwitchingStartsTheOtherProjectWhereItsWorkBegan) {
    for (const char* action : {Watcher::kSwitchAction, NotificationCenter::kDefaultAction}) {
        SCOPED_TRACE(action);
        clock_.advance(Watcher::kCooldown);
        model().startTask("Alpha", "plan", clock_.now());
        clock_.advance(600);
        const TimePoint since = work("beta.cpp", 400);
        check();
        answer(action);
        EXPECT_EQ(model().taskText(), "Beta");
        auto all = annotations();
        EXPECT_EQ(all.back().startedAt, since);
        const auto& previous = all[all.size() - 2];
        EXPECT_EQ(previous.endedAt, since);  // cut short where the other work began
        EXPECT_EQ(previous.startedAt, since - 600);
        EXPECT_FALSE(model().switchWatcher().pending());
        answer(action);  // nothing pending any more
        EXPECT_EQ(annotations().size(), all.size());
    }
}

TEST_F(SwitchWatcher, DismissingChangesNothing) {
    work("beta.cpp", 400);
    check();
    answer(NotificationCenter::kDismissAction);
    EXPECT_FALSE(model().switchWatcher().pending());
    EXPECT_EQ(model().taskText(), "Alpha \u2013 plan");
}

TEST_F(SwitchWatcher, KeepingSilencesThatProjectForThisTaskOnly) {
    work("beta.cpp", 400);
    check();
    answer(Watcher::kKeepAction);

    clock_.advance(Watcher::kCooldown);
    work("beta.cpp", 400);
    check();
    EXPECT_EQ(asked().size(), 1u);
    work("gamma.cpp", 400);
    check();
    EXPECT_EQ(asked().back(), title("Gamma"));
    answer(Watcher::kKeepAction);

    model().startTask("Alpha", "review", clock_.now());  // a new task forgets the declines
    clock_.advance(Watcher::kCooldown);
    work("beta.cpp", 400);
    check();
    EXPECT_EQ(asked().back(), title("Beta"));
}

TEST_F(SwitchWatcher, OnlyWorkSinceTheTaskBeganAndWithinHalfAnHourCounts) {
    db_.insert(testing::act("Editor", start_ - 400, start_, "beta.cpp"));
    check();
    EXPECT_TRUE(notifications_.posted.empty());
    work("beta.cpp", 400);
    clock_.advance(Watcher::kCooldown - 400);
    check();
    EXPECT_TRUE(notifications_.posted.empty());
}

TEST_F(SwitchWatcher, AsksAtMostOncePerHalfHour) {
    work("beta.cpp", 400);
    check();
    const TimePoint firstAsked = clock_.now();
    answer(Watcher::kKeepAction);
    clock_.set(firstAsked + Watcher::kCooldown - 2 * AppModel::kTicksPerRefresh - 400);
    work("gamma.cpp", 400);
    check();
    ASSERT_EQ(asked().size(), 1u);
    check();  // half an hour after the first
    EXPECT_EQ(asked().size(), 2u);
}

TEST_F(SwitchWatcher, NothingIsAskedWhileOffOrPaused) {
    work("beta.cpp", 400);
    for (auto key : {Key::switchNotifications, Key::projects, Key::workingOn}) {
        model().set(key, false);
        check();
        model().set(key, true);
    }
    monitor_.pause(clock_.now() + 2 * AppModel::kTicksPerRefresh);  // the task stays open
    check();
    EXPECT_TRUE(notifications_.posted.empty());
    check();
    EXPECT_EQ(asked(), std::vector{title("Beta")});
}

TEST_F(SwitchWatcher, AnAnswerAfterTheModelIsGoneDoesNothing) {
    work("beta.cpp", 400);
    check();
    notifications_.answer(Watcher::kSwitchAction);
    model_.reset();
    EXPECT_FALSE(notifications_.hasAnswerHandler());
    uiThread_.runPending();
    EXPECT_EQ(annotations().size(), 1u);
}

}  // namespace
}  // namespace kvillo
