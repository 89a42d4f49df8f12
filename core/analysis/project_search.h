#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/records/project.h"
#include "core/text/substring_automaton.h"
#include "core/text/text_folding.h"

namespace kvillo {

// The one rule that finds a project in a text: go through the projects in
// the given order, each with its name and then its keywords; the first
// project with a term occurring anywhere in the text wins, compared without
// regard to case or diacritics. An empty text never matches.
//
// Every term is folded once, when the search is built; each text once per
// lookup, in one pass however many terms there are. One thread at a time.
class ProjectSearch {
public:
    explicit ProjectSearch(const std::vector<Project>& projects);

    // The winning project's place in the list given, or none.
    std::optional<size_t> find(std::string_view text);

private:
    size_t count_ = 0;
    SubstringAutomaton automaton_;
    TextFolder folder_;
};

}  // namespace kvillo
