#pragma once

namespace corvane {

// The digests a copy is checked with. BLAKE2b-512 is the fast one (Qt hashes it four times as fast
// as SHA-256) and is what `b2sum` prints; SHA-256 is for servers that only have `sha256sum` or
// `shasum -a 256`.
enum class DigestAlgorithm { blake2b512, sha256 };

} // namespace corvane
