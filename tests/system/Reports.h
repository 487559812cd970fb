#pragma once

#include <string>

namespace agent::test {

/// Runs scanreport on a result, as text and as JSON, and looks at what every report has to be: within 80
/// columns, free of control bytes, UTF-8; each line of JSON an object, with one object for each record of the
/// result.
void expectGoodReports(const std::string& resultFile);

}  // namespace agent::test
