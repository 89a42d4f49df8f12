#include "core/analysis/project_search.h"

#include "core/text/text_folding.h"

namespace kvillo {

ProjectSearch::ProjectSearch(const std::vector<Project>& projects) {
    names_.reserve(projects.size());
    // A project's rank is its place in the list, so the lowest rank among
    // the terms found is the first project that has any of them.
    for (const auto& project : projects) {
        int rank = static_cast<int>(names_.size());
        names_.push_back(project.name);
        automaton_.add(foldForMatching(project.name), rank);
        for (const auto& keyword : project.keywords) {
            automaton_.add(foldForMatching(keyword), rank);
        }
    }
    automaton_.finish();
}

const std::string* ProjectSearch::find(std::string_view text) const {
    if (text.empty() || names_.empty()) {
        return nullptr;
    }
    int rank = automaton_.lowestRankIn(foldForMatching(text));
    return rank == SubstringAutomaton::kNoMatch ? nullptr : &names_[rank];
}

}  // namespace kvillo
