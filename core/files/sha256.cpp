#include "core/files/sha256.h"

#include <cstdio>
#include <memory>
#include <vector>

namespace kvillo {
namespace {

constexpr std::uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t rotate(std::uint32_t x, int n) {
    return (x >> n) | (x << (32 - n));
}

}  // namespace

Sha256::Sha256()
    : state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
             0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19} {}

void Sha256::compress(const std::uint8_t* block) {
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i) {
        w[i] = std::uint32_t(block[4 * i]) << 24 | std::uint32_t(block[4 * i + 1]) << 16 |
               std::uint32_t(block[4 * i + 2]) << 8 | std::uint32_t(block[4 * i + 3]);
    }
    for (int i = 16; i < 64; ++i) {
        std::uint32_t s0 = rotate(w[i - 15], 7) ^ rotate(w[i - 15], 18) ^ (w[i - 15] >> 3);
        std::uint32_t s1 = rotate(w[i - 2], 17) ^ rotate(w[i - 2], 19) ^ (w[i - 2] >> 10);
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    auto [a, b, c, d, e, f, g, h] = state_;
    for (int i = 0; i < 64; ++i) {
        std::uint32_t t1 = h + (rotate(e, 6) ^ rotate(e, 11) ^ rotate(e, 25)) +
                           ((e & f) ^ (~e & g)) + kRound[i] + w[i];
        std::uint32_t t2 =
            (rotate(a, 2) ^ rotate(a, 13) ^ rotate(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    std::uint32_t added[8] = {a, b, c, d, e, f, g, h};
    for (int i = 0; i < 8; ++i) {
        state_[i] += added[i];
    }
}

void Sha256::add(std::string_view bytes) {
    totalBytes_ += bytes.size();
    for (unsigned char byte : bytes) {
        block_[blockUsed_++] = byte;
        if (blockUsed_ == block_.size()) {
            compress(block_.data());
            blockUsed_ = 0;
        }
    }
}

std::string Sha256::hex() {
    std::uint64_t bits = totalBytes_ * 8;
    // Padding: a one bit, zeros up to 56 bytes into a block, the length.
    add(std::string_view("\x80", 1));
    while (blockUsed_ != 56) {
        add(std::string_view("\0", 1));
    }
    for (int shift = 56; shift >= 0; shift -= 8) {
        char byte = static_cast<char>((bits >> shift) & 0xff);
        add(std::string_view(&byte, 1));
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::uint32_t word : state_) {
        for (int shift = 28; shift >= 0; shift -= 4) {
            text += kDigits[(word >> shift) & 0xf];
        }
    }
    return text;
}

std::optional<std::string> sha256OfFile(const std::string& path) {
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        return std::nullopt;
    }
    Sha256 hash;
    std::vector<char> buffer(64 * 1024);
    size_t count;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), file.get())) > 0) {
        hash.add(std::string_view(buffer.data(), count));
    }
    if (std::ferror(file.get())) {
        return std::nullopt;
    }
    return hash.hex();
}

}  // namespace kvillo
