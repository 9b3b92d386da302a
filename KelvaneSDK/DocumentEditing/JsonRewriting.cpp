#include <algorithm>
#include <tuple>
#include <unordered_map>

#include "KelvaneSDK/DocumentEditing/JsonSpans.h"
#include "KelvaneSDK/DocumentEditing/Rewriters.h"
#include "KelvaneSDK/DocumentFields.h"
#include "KelvaneSDK/FileProcessing/JsonText.h"

namespace KelvaneSDK {

namespace {

/// Calls visit(field) for every field of a record, with its key and member.
template <class Record, class Visit>
void forEachField(Visit visit) {
    std::apply([&](const auto&... field) { (visit(field), ...); }, documentFields<Record>);
}

/// What makes a record the same one, changed or not; empty for those that are known by their place only.
std::string identity(const NodeInfo& node) { return std::to_string(node.id); }
std::string identity(const PositionInfo& position) { return std::to_string(position.id); }
std::string identity(const PropertyInfo& property) {
    return std::to_string(property.id) + property.propertyString;
}
std::string identity(const ConnectionInfo& connection) {
    return std::to_string(connection.outputNodeId) + ">" + std::to_string(connection.inputNodeId) + "." +
           std::to_string(connection.inputIndex);
}
std::string identity(std::int64_t id) { return std::to_string(id); }
std::string identity(const ContainerInfo& box) { return box.description; }
std::string identity(const SubdiagramInfo& subdiagram) { return subdiagram.description; }
std::string identity(const std::string& line) { return line; }

/// Whether a record whose identity has changed is still taken for the same one when no other is.
template <class Item>
constexpr bool isKnownByPlace = std::is_same_v<Item, ContainerInfo> || std::is_same_v<Item, SubdiagramInfo> ||
                                std::is_same_v<Item, std::string>;

/// How the members of an object are written.
struct ObjectStyle {
    ListStyle list{"", ", ", ""};
    std::string colon = ": ";
    /// The keys in their order.
    std::vector<std::string> keys = {};
};

bool isOnLines(std::string_view blanks) { return blanks.find('\n') != std::string_view::npos; }

std::string scalarText(std::int64_t number) { return std::to_string(number); }
std::string scalarText(double number) { return jsonTextOf(number); }
std::string scalarText(std::string_view string) { return jsonTextOf(string); }

class JsonRewriter {
public:
    explicit JsonRewriter(std::string_view document) : text(document) { learnStyle(); }

    std::string rewritten(const DiagramInfo& old, const DiagramInfo& edited) {
        rewrite(rootSpan(text), old, edited);
        while (!boxes.empty()) {
            const Boxes next = boxes.back();
            boxes.pop_back();
            rewriteList(next.span, *next.old, *next.edited);
        }
        return replaced(text, std::move(replacements));
    }

private:
    std::string_view blanks(std::size_t begin, std::size_t end) const {
        return text.substr(begin, end - begin);
    }

    // The style of lists of records, and of records, for lists that have none.
    void learnStyle() {
        const auto members = memberSpans(text, rootSpan(text));
        const ObjectStyle root = styleOf(rootSpan(text), members);
        recordStyle.colon = root.colon;
        if (isOnLines(root.list.open)) {
            const auto& line = root.list.open;
            const std::string deeper = line + line.substr(line.rfind('\n') + 1);
            lists = {deeper, "," + deeper, line};
        } else {
            recordStyle.list.separator = lists.separator = root.list.separator;
        }
        bool isSure = false;
        for (const auto& member : members) {
            if (isSure || text[member.value.begin] != '[') continue;
            const auto elements = elementSpans(text, member.value);
            if (elements.empty() || text[elements.front().begin] != '{') continue;
            lists = styleOf(member.value, elements, lists);
            recordStyle = styleOf(elements.front(), memberSpans(text, elements.front()));
            recordStyle.keys.clear();
            isSure = elements.size() > 1;
        }
    }

    ListStyle styleOf(TextSpan list, const std::vector<TextSpan>& elements, const ListStyle& fallback) const {
        if (elements.empty()) return fallback;
        ListStyle style{std::string(blanks(list.begin + 1, elements.front().begin)), fallback.separator,
                        std::string(blanks(elements.back().end, list.end - 1))};
        if (elements.size() > 1) {
            style.separator = blanks(elements[elements.size() - 2].end, elements.back().begin);
        } else if (isOnLines(style.open) || isOnLines(fallback.separator)) {
            style.separator = isOnLines(style.open) ? "," + style.open : ", ";
        }
        return style;
    }

    ObjectStyle styleOf(TextSpan object, const std::vector<JsonMember>& members) const {
        ObjectStyle style;
        if (members.empty()) return style;
        const auto& first = members.front();
        style.list.open = blanks(object.begin + 1, first.name.begin);
        style.list.close = blanks(members.back().value.end, object.end - 1);
        style.colon = blanks(first.name.end, first.value.begin);
        style.list.separator = members.size() > 1
                                   ? std::string(blanks(first.value.end, members[1].name.begin))
                               : isOnLines(style.list.open) ? "," + style.list.open
                                                            : ", ";
        for (const auto& member : members) style.keys.push_back(member.key);
        return style;
    }

    // New values, written on one line but for the members of a record.
    template <class T>
    std::string written(const T& value, const ObjectStyle& style) const {
        if constexpr (DocumentRecord<T>) {
            std::vector<std::pair<std::string_view, std::string>> parts;
            forEachField<T>([&](const auto& field) {
                const auto& content = value.*field.member;
                if (isThere(content))
                    parts.emplace_back(field.key,
                                       scalarText(field.key) + style.colon + written(content, style));
            });
            const auto place = [&](const auto& part) {
                return std::find(style.keys.begin(), style.keys.end(), part.first) - style.keys.begin();
            };
            std::stable_sort(parts.begin(), parts.end(),
                             [&](const auto& a, const auto& b) { return place(a) < place(b); });
            std::string result = "{" + style.list.open;
            for (const auto& part : parts)
                result += (&part == parts.data() ? "" : style.list.separator) + part.second;
            return result + style.list.close + "}";
        } else {
            return scalarText(value);
        }
    }
    template <class T>
    std::string written(const std::vector<T>& list, const ObjectStyle& style) const {
        std::string result = "[";
        for (const auto& item : list) result += (&item == list.data() ? "" : ", ") + written(item, style);
        return result + "]";
    }
    template <class T>
    std::string written(const std::optional<T>& value, const ObjectStyle& style) const {
        return written(*value, style);
    }

    template <class T>
    static bool isThere(const T&) {
        return true;
    }
    template <class T>
    static bool isThere(const std::optional<T>& value) {
        return value.has_value();
    }

    template <class T>
    void rewrite(TextSpan span, const T& old, const T& edited) {
        if (old == edited) return;
        if constexpr (DocumentRecord<T>) {
            rewriteMembers(span, old, edited);
        } else {
            replacements.push_back({span, scalarText(edited)});
        }
    }
    template <class T>
    void rewrite(TextSpan span, const std::optional<T>& old, const std::optional<T>& edited) {
        if (old) {
            rewrite(span, *old, *edited);
        } else {
            replacements.push_back({span, newMember(*edited, recordStyle)});
        }
    }

    template <class Record>
    void rewriteMembers(TextSpan span, const Record& old, const Record& edited) {
        const auto members = memberSpans(text, span);
        const auto style = styleOf(span, members);
        std::vector<bool> isRemoved(members.size());
        std::vector<SplicedItem> added;
        forEachField<Record>([&](const auto& field) {
            const auto &before = old.*field.member, &after = edited.*field.member;
            if (before == after) return;
            const auto isIt = [&](const JsonMember& member) { return member.key == field.key; };
            // Of members of one name the last counts.
            const auto last = std::find_if(members.rbegin(), members.rend(), isIt);
            if (!isThere(after)) {
                for (std::size_t i = 0; i < members.size(); ++i)
                    isRemoved[i] = isRemoved[i] || isIt(members[i]);
            } else if (last != members.rend()) {
                rewrite(last->value, before, after);
            } else {
                added.push_back({{}, scalarText(field.key) + style.colon + newMember(after, style)});
            }
        });
        std::vector<TextSpan> items;
        std::vector<SplicedItem> wanted;
        for (std::size_t i = 0; i < members.size(); ++i) {
            items.push_back({members[i].name.begin, members[i].value.end});
            if (!isRemoved[i]) wanted.push_back({i});
        }
        std::move(added.begin(), added.end(), std::back_inserter(wanted));
        spliceList(replacements, innerSpan(span), items, wanted, style.list);
    }

    // The value of a member that was not there; a document's list has lines like its neighbours.
    template <class T>
    std::string newMember(const T& value, const ObjectStyle& style) const {
        return written(value, style);
    }
    template <class T>
    std::string newMember(const std::optional<T>& value, const ObjectStyle& style) const {
        return newMember(*value, style);
    }
    template <class T>
    std::string newMember(const std::vector<T>& list, const ObjectStyle&) const {
        if (list.empty()) return "[]";
        std::string result;
        for (const auto& item : list)
            result += (result.empty() ? "[" + lists.open : lists.separator) + written(item, recordStyle);
        return result + lists.close + "]";
    }

    void rewrite(TextSpan span, const std::vector<ContainerInfo>& old,
                 const std::vector<ContainerInfo>& edited) {
        boxes.push_back({span, &old, &edited});
    }
    template <class T>
    void rewrite(TextSpan span, const std::vector<T>& old, const std::vector<T>& edited) {
        rewriteList(span, old, edited);
    }
    template <class T>
    void rewriteList(TextSpan span, const std::vector<T>& old, const std::vector<T>& edited) {
        if (old == edited) return;
        const auto elements = elementSpans(text, span);
        ObjectStyle itemStyle = recordStyle;
        if constexpr (DocumentRecord<T>) {
            if (!elements.empty()) itemStyle = styleOf(elements.back(), memberSpans(text, elements.back()));
        }
        std::vector<SplicedItem> wanted;
        const auto same = matched(old, edited);
        for (std::size_t i = 0; i < edited.size(); ++i) {
            if (same[i]) {
                wanted.push_back({same[i]});
                rewrite(elements[*same[i]], old[*same[i]], edited[i]);
            } else {
                wanted.push_back({{}, written(edited[i], itemStyle)});
            }
        }
        const ListStyle plain{"", ", ", ""};
        spliceList(replacements, innerSpan(span), elements, wanted,
                   styleOf(span, elements, DocumentRecord<T> ? lists : plain));
    }

    /// Which old item each of the edited ones is, in rising order.
    template <class T>
    static std::vector<std::optional<std::size_t>> matched(const std::vector<T>& old,
                                                           const std::vector<T>& edited) {
        std::vector<std::optional<std::size_t>> result(edited.size());
        const std::size_t shorter = std::min(old.size(), edited.size());
        std::size_t head = 0, tail = 0;
        for (; head < shorter && old[head] == edited[head]; ++head) result[head] = head;
        for (; tail < shorter - head && old[old.size() - 1 - tail] == edited[edited.size() - 1 - tail];
             ++tail)
            result[edited.size() - 1 - tail] = old.size() - 1 - tail;
        const std::size_t oldEnd = old.size() - tail, editedEnd = edited.size() - tail;
        struct Left {
            std::size_t old = 0, edited = 0;
        };
        std::unordered_map<std::string, Left> left;
        for (std::size_t i = head; i < oldEnd; ++i) ++left[identity(old[i])].old;
        for (std::size_t j = head; j < editedEnd; ++j) ++left[identity(edited[j])].edited;
        std::size_t i = head, j = head;
        while (i < oldEnd && j < editedEnd) {
            Left &here = left[identity(old[i])], &there = left[identity(edited[j])];
            const bool isGone = here.edited == 0, isNew = there.old == 0;
            if (&here == &there || (isKnownByPlace<T> && isGone && isNew)) {
                result[j++] = i++;
                --here.old;
                --there.edited;
            } else if (!isGone && isNew) {
                --there.edited;
                ++j;
            } else {
                --here.old;
                ++i;
            }
        }
        return result;
    }

    /// Boxes nest as deep as documents do, so they wait here for their turn.
    struct Boxes {
        TextSpan span;
        const std::vector<ContainerInfo>*old, *edited;
    };

    std::string_view text;
    std::vector<Replacement> replacements;
    std::vector<Boxes> boxes;
    ListStyle lists{"", ", ", ""};
    ObjectStyle recordStyle;
};

}  // namespace

std::string rewriteJson(std::string_view text, const DiagramInfo& old, const DiagramInfo& edited) {
    return JsonRewriter(text).rewritten(old, edited);
}

}  // namespace KelvaneSDK
