#include <utility>

#include "Formats.h"
#include "Interruption.h"
#include "Messages.h"
#include "Recording.h"
#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

class RecordingInput final : public UpdateInput {
public:
    explicit RecordingInput(std::unique_ptr<DataFile> file) : recording(std::move(file)) {}

    bool next(Update& update) override {
        const auto* read = recording.nextUpdate();
        while (read == nullptr && recording.readPiece()) read = recording.nextUpdate();
        if (read == nullptr) {
            if (interruption() != 0) throw Failure{128 + interruption(), {}};
            const auto failure = recording.failure();
            if (!failure.empty()) throw Failure{ExitStatus::failed, failure};
            return false;
        }
        update.take(*read);
        return true;
    }

private:
    Recording recording;
};

class RecordingOutput final : public UpdateOutput {
public:
    explicit RecordingOutput(PendingText& target) : lines(target) {}

    void take(const Update& update) override {
        constexpr std::size_t mostWaiting = 64 * 1024;
        appendLine(lines.text(), update.timestamp, update.name, update.type,
                   update.value ? &*update.value : nullptr);
        if (lines.text().size() > mostWaiting) lines.flush();
    }
    void finish() override {}

private:
    PendingText& lines;
};

}  // namespace

std::unique_ptr<UpdateInput> openRecording(std::unique_ptr<DataFile> file, const ConvertOptions&) {
    return std::make_unique<RecordingInput>(std::move(file));
}

std::unique_ptr<UpdateOutput> createRecording(PendingText& text, const ConvertOptions&) {
    return std::make_unique<RecordingOutput>(text);
}

}  // namespace kelvane
