// Any bytes as a file of any format: it is read or refused, and what was read is written as a recording and
// as a long table that read back equal.

#include <sys/mman.h>
#include <unistd.h>

#include <memory>

#include "Conversions/Formats.h"
#include "Messages.h"
#include "support.h"

using namespace KelvaneSDK;

namespace {

class TextOutput final : public kelvane::PendingText {
public:
    void flush() override {}
};

std::unique_ptr<kelvane::DataFile> fileOf(std::string_view text) {
    const int memory = ::memfd_create("input", 0);
    kelvane::writeAll(memory, text);
    auto file = std::make_unique<kelvane::DataFile>("/proc/self/fd/" + std::to_string(memory));
    ::close(memory);
    return file;
}

// What a format reads, as far as it goes, in another one.
std::string written(const kelvane::Format& from, std::string_view text, const kelvane::Format& to,
                    bool& isWhole) {
    kelvane::ConvertOptions options;
    options.layout = "long";
    TextOutput output;
    const auto writer = to.create(output, options);
    options.layout.clear();
    try {
        const auto input = from.open(fileOf(text), options);
        constexpr int most = 100'000;
        kelvane::Update update;
        for (int i = 0; i < most && input->next(update); ++i) {
            // A table has no null among texts.
            if (update.type == ValueType::String && !update.value) continue;
            writer->take(update);
        }
        isWhole = true;
    } catch (const kelvane::Failure& failure) {
        KelvaneFuzz::require(failure.message.find('\n') == std::string::npos && !failure.message.empty(),
                             "a failure has a line of text");
        isWhole = false;
    }
    writer->finish();
    return output.text();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    KelvaneFuzz::prepare();
    if (size == 0) return 0;
    const auto& formats = kelvane::formats();
    const auto& recording = formats[0];
    const auto& table = formats[1];
    bool isWhole = false;
    const auto lines = written(formats[data[0] % formats.size()], KelvaneFuzz::textOf(data + 1, size - 1),
                               recording, isWhole);
    const auto again = written(recording, lines, recording, isWhole);
    KelvaneFuzz::require(isWhole && again == lines, "what was converted is a recording");
    const auto rows = written(recording, lines, table, isWhole);
    const auto back = written(table, rows, recording, isWhole);
    KelvaneFuzz::require(isWhole && back == lines, "a long table reads back equal");
    return 0;
}
