#include "core/analysis/project_search.h"

namespace kvillo {

ProjectSearch::ProjectSearch(const std::vector<Project>& projects) {
    names_.reserve(projects.size());
    // A project's rank is its place in the list, so the lowest rank among
    // the terms found is the first project that has any of them.
    for (const auto& project : projects) {
        int rank = static_cast<int>(names_.size());
        names_.push_back(&project.name);
        std::string folded;
        folder_.fold(project.name, folded);
        automaton_.add(folded, rank);
        for (const auto& keyword : project.keywords) {
            folder_.fold(keyword, folded);
            automaton_.add(folded, rank);
        }
    }
    automaton_.finish();
}

const std::string* ProjectSearch::find(std::string_view text) {
    if (text.empty() || names_.empty()) {
        return nullptr;
    }
    SubstringAutomaton::Scan scan(automaton_);
    folder_.foldInto(text, [&scan](unsigned char byte) { scan.feed(byte); });
    int rank = scan.lowestRank();
    return rank == SubstringAutomaton::kNoMatch ? nullptr : names_[rank];
}

}  // namespace kvillo
