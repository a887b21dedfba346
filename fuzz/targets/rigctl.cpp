// What a client of rig control sends, as it comes over the connection.
#include "fuzz/fuzz.hpp"
#include "host/neighbours/line_buffer.hpp"
#include "host/neighbours/rig_dialogue.hpp"
#include "tests/host/neighbours/fake_rig.hpp"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    constexpr std::size_t kLongestLine = 1024;
    constexpr int kMostLines = 100; // more only take time
    test::FakeRig rig;
    RigDialogue dialogue(rig);
    LineBuffer lines(kLongestLine);
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (int i = 0; i < kMostLines && !bytes.empty() && !dialogue.ended(); ++i) {
        const auto line = lines.take(bytes);
        if (!line)
            break;
        const std::string answer = dialogue.answer(line->text);
        const FrequencyRange range = rig.range();
        for (const Vfo vfo : {Vfo::A, Vfo::B})
            if (rig.frequency(vfo) < range.lowest || rig.frequency(vfo) > range.highest)
                std::abort();
        // a line in, whole lines of plain text out
        if (line->text.size() > kLongestLine || (!answer.empty() && answer.back() != '\n'))
            std::abort();
        for (const char c : answer)
            if ((c < ' ' || c > '~') && c != '\n')
                std::abort();
    }
    return 0;
}
