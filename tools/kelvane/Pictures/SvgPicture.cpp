#include "Pictures/DiagramPicture.h"
#include "Pictures/Markup.h"

namespace kelvane {

std::string svgPicture(const KelvaneSDK::DiagramData&, const PictureOptions& options) {
    return "<svg class=\"kelvane diagram\" xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 100 "
           "100\"><title>" +
           markupText(options.title) + "</title></svg>\n";
}

}  // namespace kelvane
