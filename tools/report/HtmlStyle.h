#pragma once

namespace agent::tools {

// The style sheet, page.css, as the build embeds it.
extern const char* const HTML_STYLE;
/// What a browser calls it, "sha256-...", so that a page can forbid every other one.
extern const char* const HTML_STYLE_HASH;

}  // namespace agent::tools
