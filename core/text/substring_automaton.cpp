#include "core/text/substring_automaton.h"

#include <algorithm>
#include <cassert>
#include <deque>

namespace kvillo {

void SubstringAutomaton::add(std::string_view pattern, int rank) {
    assert(transitions_.empty() && "add() after finish()");
    if (pattern.empty()) {
        return;
    }
    int state = 0;
    for (char c : pattern) {
        auto byte = static_cast<std::uint8_t>(c);
        auto& children = nodes_[state].children;
        auto found = std::find_if(children.begin(), children.end(),
                                  [byte](const auto& child) { return child.first == byte; });
        if (found != children.end()) {
            state = found->second;
            continue;
        }
        int next = static_cast<int>(nodes_.size());
        children.emplace_back(byte, next);
        nodes_.emplace_back();
        state = next;
    }
    nodes_[state].rank = std::min(nodes_[state].rank, rank);
}

void SubstringAutomaton::finish() {
    // Bytes that occur in no pattern all behave alike; giving them one class
    // keeps the table small enough to build on every call.
    for (const auto& node : nodes_) {
        for (const auto& [byte, next] : node.children) {
            if (byteClass_[byte] == 0) {
                byteClass_[byte] = static_cast<std::uint8_t>(classCount_++);
            }
        }
    }
    size_t stateCount = nodes_.size();
    transitions_.assign(stateCount * classCount_, 0);
    lowestRank_.assign(stateCount, kNoMatch);
    std::vector<int> failure(stateCount, 0);

    std::deque<int> queue;
    lowestRank_[0] = nodes_[0].rank;
    for (const auto& [byte, next] : nodes_[0].children) {
        transitions_[byteClass_[byte]] = next;
        lowestRank_[next] = nodes_[next].rank;
        queue.push_back(next);
    }
    while (!queue.empty()) {
        int state = queue.front();
        queue.pop_front();
        std::int32_t* row = &transitions_[state * classCount_];
        const std::int32_t* failureRow = &transitions_[failure[state] * classCount_];
        std::copy(failureRow, failureRow + classCount_, row);
        for (const auto& [byte, next] : nodes_[state].children) {
            int cls = byteClass_[byte];
            failure[next] = failureRow[cls];
            lowestRank_[next] = std::min(nodes_[next].rank, lowestRank_[failure[next]]);
            row[cls] = next;
            queue.push_back(next);
        }
    }
    nodes_.clear();
    nodes_.shrink_to_fit();
}

int SubstringAutomaton::lowestRankIn(std::string_view text) const {
    Scan scan(*this);
    for (char c : text) {
        scan.feed(static_cast<std::uint8_t>(c));
    }
    return scan.lowestRank();
}

}  // namespace kvillo
