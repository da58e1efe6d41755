#pragma once
// The picture of a run as one HTML file that needs nothing else: inline CSS and SVG, no
// script. Every mark carries its transcript line in an SVG <title>, which a browser
// shows on hover.
#include <ostream>
#include <string>

#include "run_picture.h"

namespace launchagent::report {

void WriteHtmlReport(const RunPicture& picture, const std::string& sTitle, std::ostream& out);

}  // namespace launchagent::report
