#include "KelvaneSDK/DocumentEditing/DiagramRewriting.h"

#include "KelvaneSDK/DocumentEditing/Rewriters.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"
#include "KelvaneSDK/TextForm/TextForm.h"

namespace KelvaneSDK {

namespace {

DiagramRewriting rewriteDocument(std::string_view text, const DiagramInfo& edited) {
    DecodeFailure failure;
    const auto old = DiagramData::decode(text, &failure);
    if (!old) return {{}, "the text is no diagram document: " + failure.reason};
    auto result = rewriteJson(text, old->info, edited);
    const auto read = DiagramData::decode(result, &failure);
    if (!read) return {{}, "the edited diagram is no document: " + failure.reason};
    if (read->info != edited) return {{}, "JSON cannot hold the edit: a text is not UTF-8"};
    return {std::move(result)};
}

}  // namespace

DiagramRewriting rewriteDiagram(std::string_view text, const DiagramInfo& edited,
                                const NodeRegistry& registry) {
    auto result = withinMemory([&] {
        return isTextForm(text) ? rewriteTextForm(text, edited, registry) : rewriteDocument(text, edited);
    });
    return result ? std::move(*result) : DiagramRewriting{{}, outOfMemoryReason};
}

}  // namespace KelvaneSDK
