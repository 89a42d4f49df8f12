#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvillo {

// SHA-256 (FIPS 180-4), fed in pieces: enough to check a download against
// the sum published beside it without reading it into memory.
class Sha256 {
public:
    Sha256();
    void add(std::string_view bytes);
    // The digest as 64 lower-case hex digits. Ends the hash: add nothing
    // after it.
    std::string hex();

private:
    void compress(const std::uint8_t* block);

    std::array<std::uint32_t, 8> state_;
    std::array<std::uint8_t, 64> block_{};
    std::size_t blockUsed_ = 0;
    std::uint64_t totalBytes_ = 0;
};

// The hex digest of the file's bytes; none when it cannot be read.
std::optional<std::string> sha256OfFile(const std::string& path);

}  // namespace kvillo
