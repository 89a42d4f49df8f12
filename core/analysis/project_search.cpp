#include "core/analysis/project_search.h"

namespace kvillo {

ProjectSearch::ProjectSearch(const std::vector<Project>& projects) : count_(projects.size()) {
    // A project's rank is its place in the list, so the lowest rank among
    // the terms found is the first project that has any of them.
    int rank = 0;
    for (const auto& project : projects) {
        std::string folded;
        folder_.fold(project.name, folded);
        automaton_.add(folded, rank);
        for (const auto& keyword : project.keywords) {
            folder_.fold(keyword, folded);
            automaton_.add(folded, rank);
        }
        ++rank;
    }
    automaton_.finish();
}

std::optional<size_t> ProjectSearch::find(std::string_view text) {
    if (text.empty() || count_ == 0) {
        return std::nullopt;
    }
    SubstringAutomaton::Scan scan(automaton_);
    folder_.foldInto(text, [&scan](unsigned char byte) { scan.feed(byte); });
    int rank = scan.lowestRank();
    if (rank == SubstringAutomaton::kNoMatch) {
        return std::nullopt;
    }
    return static_cast<size_t>(rank);
}

}  // namespace kvillo
