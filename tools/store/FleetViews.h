#pragma once

namespace agent::tools {

/// The functions and views of the fleet's database: views.sql, which becomes a part of the program.
extern const char* const FLEET_VIEWS;
/// Of that file; higher each time that it has changed.
extern const int FLEET_VIEWS_VERSION;

}  // namespace agent::tools
