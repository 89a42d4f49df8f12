#pragma once

namespace kvillo {

// The brand typeface "Archivo", compiled into the program. The interface
// prefers it and falls back to the system font where it is missing.
// Main thread only; needs a QGuiApplication.
namespace BrandFont {

// Registers the embedded font files for this process. Never fails: a file
// the font database refuses is skipped.
void registerFonts();

// Whether the "Archivo" family can be used, whether registered here or
// installed on the system. False until registerFonts() has run.
bool isAvailable();

}  // namespace BrandFont
}  // namespace kvillo
