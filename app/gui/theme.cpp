#include "app/gui/theme.h"

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace kvillo {
namespace {

struct Named {
    const char* name;
    QRgb light;
    QRgb dark;
};

// `card` and `onCard` are the same in both modes: the task card is always
// the dark brand purple.
constexpr Named kPalette[] = {
    {"cream", 0xEFEFEF, 0x1D2025},         {"warmWhite", 0xE8E9EC, 0x181B1F},
    {"surface", 0xFFFFFF, 0x262A30},       {"track", 0xE1E3E8, 0x33373E},
    {"neutralBar", 0xCFCFCF, 0x4A4D55},    {"menuBackground", 0xF7F7F8, 0x24282E},
    {"ink", 0x1F0234, 0xF4ECF8},           {"inkMuted", 0x6B7280, 0x9CA3AF},
    {"lavenderLight", 0xD9B1FA, 0x3D2C55}, {"lavenderDark", 0x1F0234, 0xE9D5FF},
    {"lavenderTint", 0xD9B1FA, 0xBC72F7},  {"onPause", 0x1F0234, 0x1D2025},
    {"sageText", 0x2F6B4A, 0xA4DCB5},      {"cardStroke", 0x1F0234, 0x4A2A6B},
    {"switchOn", 0xBC72F7, 0xA4DCB5},      {"switchOff", 0xD5D8DE, 0x3A3E46},
    {"field", 0xFFFFFF, 0x1D2025},         {"primaryFill", 0x1F0234, 0xBC72F7},
    {"onPrimary", 0xFFFFFF, 0x1F0234},     {"lavender", 0xBC72F7, 0xBC72F7},
    {"mint", 0xA4DCB5, 0xA4DCB5},          {"logoSquare", 0xD9B1FA, 0xD9B1FA},
    {"focusText", 0x1F0234, 0x1F0234},     {"card", 0x1F0234, 0x1F0234},
    {"onCard", 0xFFFFFF, 0xFFFFFF},        {"lavenderSoft", 0xD9B1FA, 0xD9B1FA},
    {"pauseFill", 0xD9B1FA, 0xBC72F7},
};

constexpr QRgb kProjectColors[8][2] = {
    {0xBC72F7, 0xBC72F7}, {0x5FA87F, 0x3E7E59}, {0xF1E4F5, 0x1F0234}, {0xA4DCB5, 0xA4DCB5},
    {0xD9B1FA, 0xD9B1FA}, {0x4A63E0, 0x14298C}, {0x6E8FFF, 0x3D6BFF}, {0x7ADCFF, 0x52D1FF},
};

// FNV-1a over the UTF-8 bytes: the same colour for the same name in every
// run and build, which qHash's seed does not promise.
std::uint32_t stableHash(const QString& name) {
    std::uint32_t hash = 2166136261u;
    for (char byte : name.toUtf8()) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619u;
    }
    return hash;
}

}  // namespace

Theme::Theme(QString fontFamily, QObject* parent)
    : QObject(parent), fontFamily_(std::move(fontFamily)) {
    setDark(false);
}

void Theme::setDark(bool dark) {
    if (dark == dark_ && !colors_.isEmpty()) {
        return;
    }
    dark_ = dark;
    colors_.clear();
    for (const auto& named : kPalette) {
        colors_.insert(named.name, QColor(dark ? named.dark : named.light));
    }
    emit changed();
}

QColor Theme::color(const QString& name) const {
    return colors_.value(name, QColor(Qt::black)).value<QColor>();
}

QColor Theme::projectColor(const QString& name, bool unmatched,
                           const std::vector<Project>& projects, bool dark) {
    if (unmatched) {
        for (const auto& named : kPalette) {
            if (std::string_view(named.name) == "neutralBar") {
                return QColor(dark ? named.dark : named.light);
            }
        }
    }
    std::size_t position = stableHash(name) % 8;
    const auto utf8 = name.toStdString();
    for (std::size_t index = 0; index < projects.size(); ++index) {
        if (projects[index].name == utf8) {
            position = index % 8;
            break;
        }
    }
    return QColor(kProjectColors[position][dark ? 1 : 0]);
}

}  // namespace kvillo
