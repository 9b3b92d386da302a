#pragma once

#include <string_view>

namespace kelvane {

/// The page of viewer/dist/viewer.html, which the build makes part of the tool. It has each of these comments
/// once, in this order, in the place of what a report puts there: `<!--kelvane-title-->`,
/// `<!--kelvane-picture-->` and `<!--kelvane-data-->`.
std::string_view viewerPage();

}  // namespace kelvane
