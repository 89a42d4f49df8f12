#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/records/project.h"
#include "core/text/substring_automaton.h"

namespace kvillo {

// The one rule that finds a project in a text: go through the projects in
// the given order, each with its name and then its keywords; the first
// project with a term occurring anywhere in the text wins, compared without
// regard to case or diacritics. An empty text never matches.
//
// Every term is folded once, when the search is built; each text once per
// lookup. Immutable after construction.
class ProjectSearch {
public:
    explicit ProjectSearch(const std::vector<Project>& projects);

    bool hasProjects() const { return !names_.empty(); }

    // The winning project's name, or nullptr. The pointer stays valid as
    // long as this search.
    const std::string* find(std::string_view text) const;

private:
    std::vector<std::string> names_;
    SubstringAutomaton automaton_;
};

}  // namespace kvillo
