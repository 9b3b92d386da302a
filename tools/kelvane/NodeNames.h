#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "Diagram.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// The nodes of an engine that a name on the command line stands for: a label, which several may bear, or
/// "#id". Refuses a name that stands for none; `option` is what it was given as.
std::vector<const KelvaneSDK::Node*> nodesNamed(const KelvaneSDK::Kelvane& engine, const std::string& option,
                                                const std::string& name);

/// The same for a document, whatever may be wrong with it: the ids of the nodes.
std::vector<std::int64_t> nodesNamed(const KelvaneSDK::DiagramInfo& document, const std::string& option,
                                     const std::string& name);

/// Where the nodes of a diagram stand in its document.
class NodePlaces {
public:
    explicit NodePlaces(const Diagram& diagram);

    /// `walk.kelvane:12:5:`; the name of the file alone where the id is not known.
    std::string placeOf(std::int64_t id) const;
    /// `walk.kelvane:12:5: "steps" (Update counter)`
    std::string nameOf(const KelvaneSDK::Node& node) const;
    /// The line, from 1; 0 where it is not known.
    std::size_t lineOf(const KelvaneSDK::Node& node) const;

private:
    std::string fileName;
    bool isText;
    std::map<std::int64_t, KelvaneSDK::Finding> places;
};

}  // namespace kelvane
