#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "core/environment/locale_environment.h"
#include "core/localisation/l10n.h"
#include "core/localisation/translations.h"
#include "core/settings/features.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::ScopedEnv;

TEST(Language, SystemLanguageIsTheFirstPreferredOfTheFour) {
    struct Row {
        std::vector<std::string> preferred;
        Language expected;
    };
    const Row rows[] = {
        {{"nn-NO", "en-US"}, Language::nb},
        {{"no"}, Language::nb},
        {{"de-DE", "fr-CA"}, Language::fr},
        {{"de-DE"}, Language::en},
        {{}, Language::en},
        {{"C", "es_ES.UTF-8"}, Language::es},
        {{"e"}, Language::en},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Language::fromPreferred(row.preferred), row.expected);
    }
}

TEST(Language, TheEnvironmentGivesLanguageThenTheMessagesLocale) {
    {
        ScopedEnv language("LANGUAGE", "de_DE:nn_NO:en");
        ScopedEnv all("LC_ALL", "fr_FR.UTF-8");
        ScopedEnv lang("LANG", "es_ES.UTF-8");
        EXPECT_EQ(localeEnvironment::preferredLanguages(),
                  (std::vector<std::string>{"de_DE", "nn_NO", "en", "fr_FR.UTF-8"}));
        EXPECT_EQ(Language::system(), Language::nb);
    }
    ScopedEnv language("LANGUAGE", "");
    ScopedEnv all("LC_ALL", "");
    ScopedEnv messages("LC_MESSAGES", "");
    ScopedEnv lang("LANG", "fr_FR.UTF-8");
    EXPECT_EQ(Language::system(), Language::fr);
}

TEST(L10n, TheSettingChoosesTheLanguageUnlessItIsUnknown) {
    testing::TempFolder folder;
    Features features(folder.file("settings.json"), [] { return std::string(); });
    ScopedEnv language("LANGUAGE", "es");
    EXPECT_EQ(L10n::language(features), Language::es);
    features.setLanguage(Language::fr);
    EXPECT_EQ(L10n::language(features), Language::fr);
    testing::writeFile(folder.file("settings.json"), R"({"language": "de"})");
    EXPECT_EQ(L10n::language(features), Language::es);
}

TEST(L10n, LookupsFillPlaceholdersInEveryLanguage) {
    struct Row {
        Language language;
        const char* showAll;
        const char* share;
        const char* hourUnit;
    };
    const Row rows[] = {
        {Language::nb, "Vis alle 7", "42 % av aktiv tid", "t"},
        {Language::en, "Show all 7", "42 % of active time", "h"},
        {Language::es, "Mostrar las 7", "42 % del tiempo activo", "h"},
        {Language::fr, "Tout afficher (7)", "42 % du temps actif", "h"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.language.code()));
        EXPECT_EQ(L10n::string(row.language, "Vis alle %d", {std::int64_t{7}}), row.showAll);
        EXPECT_EQ(L10n::string(row.language, "%d %% av aktiv tid", {std::int64_t{42}}), row.share);
        EXPECT_EQ(L10n::hourUnit(row.language), row.hourUnit);
    }
    EXPECT_EQ(L10n::string(Language::fr, "Slette %@?", {std::string("Skarvelin")}),
              "Supprimer Skarvelin ?");
    EXPECT_EQ(L10n::string(Language::en, "Uke %d · %@ – %@",
                           {std::int64_t{48}, std::string("23 Nov"), std::string("29 Nov")}),
              "Week 48 · 23 Nov – 29 Nov");
}

std::vector<std::string> placeholders(std::string_view text) {
    static const std::regex kPlaceholder("%[@d%]");
    std::vector<std::string> found;
    std::string copy(text);
    for (std::sregex_iterator it(copy.begin(), copy.end(), kPlaceholder), end; it != end; ++it) {
        found.push_back(it->str());
    }
    return found;
}

TEST(L10n, EveryRowIsCompleteWithTheKeysPlaceholders) {
    std::set<std::string_view> keys;
    for (const auto& row : kTranslations) {
        SCOPED_TRACE(std::string(row.key));
        EXPECT_TRUE(keys.insert(row.key).second) << "duplicate key";
        for (std::string_view text : {row.en, row.es, row.fr}) {
            EXPECT_FALSE(text.empty());
            EXPECT_EQ(placeholders(text), placeholders(row.key)) << text;
        }
    }
}

}  // namespace
}  // namespace kvillo
