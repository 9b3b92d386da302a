#include "Pictures/DiagramPicture.h"
#include "Pictures/DrawnDiagram.h"
namespace kelvane {
std::string dotPicture(const KelvaneSDK::DiagramData&, const PictureOptions&) { return {}; }
std::string mermaidPicture(const KelvaneSDK::DiagramData&, const PictureOptions&) { return {}; }
}  // namespace kelvane
