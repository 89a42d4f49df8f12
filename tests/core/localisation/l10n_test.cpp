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
        const char* name;
        std::vector<std::string> preferred;
        Language expected;
    };
    const Row rows[] = {
        {"a bokmål locale", {"nb_NO.UTF-8"}, Language::nb},
        {"nynorsk counts as Norwegian", {"nn-NO", "en-US"}, Language::nb},
        {"so does the macrolanguage", {"no"}, Language::nb},
        {"later entries are searched", {"de-DE", "fr-CA"}, Language::fr},
        {"none of the four", {"de-DE"}, Language::en},
        {"nothing preferred", {}, Language::en},
        {"the C locale is no language", {"C", "es_ES.UTF-8"}, Language::es},
        {"a tag shorter than a code", {"e"}, Language::en},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
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
    // A stored locale is not a language code.
    testing::writeFile(folder.file("settings.json"), R"({"language": "nb_NO"})");
    EXPECT_EQ(L10n::language(features), Language::es);
}

TEST(L10n, LookupsFillPlaceholdersInEveryLanguage) {
    struct Row {
        Language language;
        const char* showAll;
        const char* share;
    };
    const Row rows[] = {
        {Language::nb, "Vis alle 7", "42 % av aktiv tid"},
        {Language::en, "Show all 7", "42 % of active time"},
        {Language::es, "Mostrar las 7", "42 % del tiempo activo"},
        {Language::fr, "Tout afficher (7)", "42 % du temps actif"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.language.code()));
        EXPECT_EQ(L10n::string(row.language, "Vis alle %d", {std::int64_t{7}}), row.showAll);
        EXPECT_EQ(L10n::string(row.language, "%d %% av aktiv tid", {std::int64_t{42}}), row.share);
    }
    EXPECT_EQ(L10n::string(Language::fr, "Slette %@?", {std::string("Skarvelin")}),
              "Supprimer Skarvelin ?");
    EXPECT_EQ(L10n::string(Language::en, "Uke %d · %@ – %@",
                           {std::int64_t{48}, std::string("23 Nov"), std::string("29 Nov")}),
              "Week 48 · 23 Nov – 29 Nov");
}

std::vector<std::string> placeholders(std::string_view text) {
    static const std::regex kPlaceholder("%[@d%]");
    std::string copy(text);
    return {std::sregex_token_iterator(copy.begin(), copy.end(), kPlaceholder),
            std::sregex_token_iterator()};
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
