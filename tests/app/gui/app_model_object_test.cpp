#include <gtest/gtest.h>

#include <QMetaObject>

#include <map>
#include <string>

#include "app/gui/app_model_object.h"
#include "tests/core/model/model_fixture.h"

namespace kvillo {
namespace {

// What QML sees: properties read through the meta-object, operations
// invoked by name, and a change signal for what changed.
class ModelObject : public testing::ModelFixture {
protected:
    ModelObject() {
        QObject::connect(&object_, &AppModelObject::taskChanged, [this] { ++seen_["task"]; });
        QObject::connect(&object_, &AppModelObject::taskClockChanged, [this] { ++seen_["clock"]; });
        QObject::connect(&object_, &AppModelObject::enabledChanged, [this] { ++seen_["enabled"]; });
        QObject::connect(&object_, &AppModelObject::projectsChanged,
                         [this] { ++seen_["projects"]; });
    }

    template <typename... Args>
    void invoke(const char* method, Args... args) {
        ASSERT_TRUE(QMetaObject::invokeMethod(&object_, method, Qt::DirectConnection, args...))
            << method;
    }

    AppModelObject object_{model()};
    std::map<std::string, int> seen_;
};

TEST_F(ModelObject, OperationsReachTheModelAndChangesAreSignalled) {
    invoke("saveProject", Q_ARG(QString, "Alpha"), Q_ARG(QString, "a, b"), Q_ARG(QString, ""));
    EXPECT_EQ(seen_["projects"], 1);
    const auto projects = object_.property("projects").toList();
    ASSERT_EQ(projects.size(), 1);
    EXPECT_EQ(projects[0].toMap()["keywords"].toStringList(), (QStringList{"a", "b"}));

    invoke("startTask", Q_ARG(QString, "Alpha"), Q_ARG(QString, "plan"));
    EXPECT_EQ(object_.property("taskText").toString(), QString::fromUtf8("Alpha \u2013 plan"));
    EXPECT_TRUE(object_.property("taskRunning").toBool());
    EXPECT_GE(seen_["task"], 1);

    seen_.clear();
    tick(3);
    EXPECT_EQ(seen_["clock"], 3);
    EXPECT_EQ(seen_["task"], 0);
    EXPECT_EQ(object_.property("taskClock").toString(), "0:00:03");

    invoke("setEnabled", Q_ARG(QString, "projects"), Q_ARG(bool, false));
    invoke("setEnabled", Q_ARG(QString, "no such switch"), Q_ARG(bool, false));
    EXPECT_FALSE(object_.property("enabled").toMap()["projects"].toBool());
    EXPECT_EQ(seen_["enabled"], 1);

    invoke("togglePause");
    EXPECT_TRUE(object_.property("isPaused").toBool());
    EXPECT_FALSE(object_.property("taskRunning").toBool());

    // A notice follows a change of language at once.
    desktop_.seen.frontApplication = false;
    model().refresh();
    const QString before = object_.property("notice").toString();
    object_.setLanguage(object_.language() == "fr" ? "en" : "fr");
    EXPECT_NE(object_.property("notice").toString(), before);
    EXPECT_FALSE(object_.property("notice").toString().isEmpty());
}

}  // namespace
}  // namespace kvillo
