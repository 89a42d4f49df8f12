#include "app/gui/brand_font.h"

#include <QDir>
#include <QFontDatabase>

namespace kvillo::BrandFont {
namespace {

constexpr const char* kFamily = "Archivo";
bool available = false;

}  // namespace

void registerFonts() {
    const QDir fonts(QStringLiteral(":/fonts"));
    for (const QString& file : fonts.entryList({QStringLiteral("*.ttf")}, QDir::Files)) {
        QFontDatabase::addApplicationFont(fonts.filePath(file));
    }
    available = QFontDatabase::families().contains(QLatin1String(kFamily));
}

bool isAvailable() {
    return available;
}

}  // namespace kvillo::BrandFont
