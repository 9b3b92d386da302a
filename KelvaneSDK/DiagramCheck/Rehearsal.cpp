#include "KelvaneSDK/DiagramCheck/Rehearsal.h"

#include <new>

#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/StopTrial.h"

namespace KelvaneSDK {

namespace {

// Settling the order takes time in the square of their number.
constexpr std::size_t mostFunctions = 2000;
constexpr int batches = 6;
// The time is for rings of functions that go on and on; anything else takes a fraction of it.
constexpr EvaluationLimits limits{100'000, 0.2};

/// What the values of a rehearsal come from; a function that gets the types it expects does not stop on them.
struct Cast {
    double start, step;
    bool truth;
};
constexpr Cast casts[] = {{0.5, 1, true}, {0.25, -1, false}};

template <class T>
Value listOf(const T& first, const T& second) {
    return List<T>({first, second, first});
}

Value valueOf(ValueType type, const Cast& cast, int batch) {
    const double x = cast.start + batch * cast.step;
    const Vector v{x, 1, 2};
    const Orientation q{0, 0, 0, 1};
    const List<Sample> samples{{0, x}, {1, -x}, {2, x}};
    switch (type) {
        case ValueType::Float:
            return x;
        case ValueType::Integer:
            return 1 + batch % 2;
        case ValueType::Boolean:
            return cast.truth;
        case ValueType::Vector:
            return v;
        case ValueType::Orientation:
            return q;
        case ValueType::String:
            return "text";
        case ValueType::Sequence:
        case ValueType::SampleArray:  // of no stream
            return Sequence(samples);
        case ValueType::FloatArray:
            return listOf(x, 1.0);
        case ValueType::IntegerArray:
            return listOf<std::int64_t>(1, 2);
        case ValueType::BooleanArray:
            return listOf(cast.truth, true);
        case ValueType::VectorArray:
            return listOf(v, {});
        case ValueType::OrientationArray:
            return listOf(q, q);
        case ValueType::StringArray:
            return listOf<String>("one", "two");
        case ValueType::SequenceArray:
            break;
    }
    return listOf<Sequence>(Sequence(samples), Sequence(samples));
}

void rehearse(Kelvane& engine, const Cast& cast) {
    for (int batch = 0; batch < batches; ++batch) {
        KelvaneInput input{1.0 + batch, {}};
        for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
            input.updates.insert_or_assign(stream->label(),
                                           valueOf(stream->outputValue()->payload()->type(), cast, batch));
        }
        // A label that no update carries is fed back.
        if (batch % 2 == 1) {
            for (const auto& output : engine.nodeList(NodeCategory::VariableOutput)) {
                input.updates.erase(output->label());
            }
        }
        engine.evaluate(input);
    }
}

}  // namespace

bool stopsInEveryRehearsal(const DiagramInfo& document, bool mayNotEnd) {
    if (document.nodes.size() > mostFunctions) return true;
    const auto text = DiagramData{document}.encode();
    for (const Cast& cast : casts) {
        const auto evaluate = [&] {
            Kelvane engine;
            engine.setLimits(limits);
            // A document that builds fails to only for want of memory, in which nothing is certain.
            if (!engine.read(text, true)) throw std::bad_alloc();
            rehearse(engine, cast);
            if (engine.isOutOfMemory()) throw std::bad_alloc();
        };
        const auto reason = reasonOfStop(evaluate);
        const bool metLimit = reason && reason->find(beyondLimit) != std::string::npos;
        if (!reason || (metLimit && !mayNotEnd)) return false;
    }
    return true;
}

}  // namespace KelvaneSDK
