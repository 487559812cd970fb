#pragma once

namespace agent {

/// What the headers of trace files and wrapping logs say about this program.
inline constexpr char PRODUCT_NAME[] = "ZTA Corvane Storage Vantage Center";
inline constexpr char PRODUCT_VERSION[] = "5.2.4.1";

/// The day of this build, always eleven characters long ("Nov 24 2026"): a trace file is kept across restarts
/// only while the length of its header stays the same. The compiler takes it from SOURCE_DATE_EPOCH when set.
const char* buildDate();

}  // namespace agent
