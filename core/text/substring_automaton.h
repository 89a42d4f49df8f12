#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kvillo {

// Finds which of many patterns occur in a text in one pass over the text
// (Aho-Corasick over bytes). Each pattern carries a rank; a search answers
// the lowest rank among the patterns that occur. Used to match thousands of
// window titles against every project term without a loop per term.
//
// Build it with add() then finish(); after that it is immutable and may be
// searched from any number of threads.
class SubstringAutomaton {
public:
    static constexpr int kNoMatch = std::numeric_limits<int>::max();

    // An empty pattern is ignored: it never matches.
    void add(std::string_view pattern, int rank);
    void finish();

    // The lowest rank of a pattern occurring in `text`, or kNoMatch.
    int lowestRankIn(std::string_view text) const;

    // The same, fed one byte at a time, for texts that are produced while
    // they are searched.
    // Holds plain pointers into the tables so that the per-byte step stays
    // in registers. Must not outlive the automaton.
    class Scan {
    public:
        explicit Scan(const SubstringAutomaton& automaton)
            : transitions_(automaton.transitions_.data()),
              byteClass_(automaton.byteClass_.data()),
              lowestRank_(automaton.lowestRank_.data()),
              classCount_(automaton.classCount_),
              finished_(!automaton.transitions_.empty()) {}
        void feed(std::uint8_t byte) {
            if (!finished_) {
                return;
            }
            state_ = transitions_[state_ * classCount_ + byteClass_[byte]];
            int rank = lowestRank_[state_];
            lowest_ = rank < lowest_ ? rank : lowest_;
        }
        int lowestRank() const { return lowest_; }

    private:
        const std::int32_t* transitions_;
        const std::uint8_t* byteClass_;
        const int* lowestRank_;
        std::int32_t classCount_;
        bool finished_;
        std::int32_t state_ = 0;
        int lowest_ = kNoMatch;
    };

private:
    struct Node {
        std::vector<std::pair<std::uint8_t, int>> children;  // while building
        int rank = kNoMatch;
    };

    std::vector<Node> nodes_{Node{}};
    // After finish(): transitions_[state * classCount_ + class], and each
    // state's lowest rank including those reached through failure links.
    std::vector<std::uint8_t> byteClass_ = std::vector<std::uint8_t>(256, 0);
    int classCount_ = 1;
    std::vector<std::int32_t> transitions_;
    std::vector<int> lowestRank_;
};

}  // namespace kvillo
