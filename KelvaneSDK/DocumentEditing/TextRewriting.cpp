#include "KelvaneSDK/DocumentEditing/Rewriters.h"

namespace KelvaneSDK {

DiagramRewriting rewriteTextForm(std::string_view, const DiagramInfo&, const NodeRegistry&) {
    return {{}, "not yet"};
}

}  // namespace KelvaneSDK
