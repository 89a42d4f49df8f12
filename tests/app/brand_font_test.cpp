#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QGuiApplication>

#include <cstdlib>

#include "app/brand_font.h"

namespace kvillo {
namespace {

TEST(BrandFont, TheEmbeddedFamilyIsAvailableAfterRegistering) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int argc = 1;
    char name[] = "brand_font_test";
    char* argv[] = {name, nullptr};
    QGuiApplication application(argc, argv);
    EXPECT_FALSE(BrandFont::isAvailable());
    BrandFont::registerFonts();
    EXPECT_TRUE(BrandFont::isAvailable());
    auto styles = QFontDatabase::styles(QStringLiteral("Archivo"));
    EXPECT_GE(styles.size(), 5) << styles.join(", ").toStdString();
}

}  // namespace
}  // namespace kvillo
