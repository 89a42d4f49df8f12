#include "core/records/project.h"

#include "core/text/join.h"
#include "core/text/trim.h"

namespace kvillo {

std::vector<std::string> Project::parseKeywords(std::string_view text) {
    std::vector<std::string> keywords;
    size_t pieceStart = 0;
    while (pieceStart <= text.size()) {
        size_t comma = text.find(',', pieceStart);
        size_t pieceEnd = comma == std::string_view::npos ? text.size() : comma;
        std::string_view piece = trim(text.substr(pieceStart, pieceEnd - pieceStart));
        if (!piece.empty()) {
            keywords.emplace_back(piece);
        }
        if (comma == std::string_view::npos) {
            break;
        }
        pieceStart = comma + 1;
    }
    return keywords;
}

std::string Project::joinKeywords(const std::vector<std::string>& keywords) {
    return join(keywords, ",");
}

}  // namespace kvillo
