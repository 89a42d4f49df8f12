#pragma once

namespace kvillo {

// An instant as seconds since 1970-01-01 00:00:00 UTC, with sub-second
// precision. This is the form time takes in the database, in JSON and in every
// computation, so it stays a plain number rather than a chrono type.
using TimePoint = double;

// A length of time in seconds.
using Duration = double;

}  // namespace kvillo
