// A module with resources, for the tests: the same as strings_module.rc.
#include "posix/resource_table.h"

#include <cstddef>
#include <cstdint>

namespace {

// The units of a block whose texts stand at the given places.
struct Text {
    unsigned place;
    const char16_t* text;
};

template <std::size_t Units>
struct Block {
    std::uint16_t units[Units] = {};
    std::uint32_t size = 0;

    template <std::size_t Count>
    constexpr explicit Block(const Text (&texts)[Count]) {
        std::size_t used = 0;
        for (unsigned place = 0; place < 16; ++place) {
            const std::size_t lengthAt = used++;
            for (const Text& text : texts) {
                if (text.place != place)
                    continue;
                for (const char16_t* unit = text.text; *unit; ++unit) {
                    units[used++] = static_cast<std::uint16_t>(*unit);
                    ++units[lengthAt];
                }
            }
        }
        size = static_cast<std::uint32_t>(used * sizeof(std::uint16_t));
    }
};

constexpr Text english2[] = {{0, u"sixteen"}, {2, u"color"}, {15, u"thirty-one"}};
constexpr Text british2[] = {{2, u"colour"}};
constexpr Text catalan2[] = {{0, u"setze \u20AC"}};
constexpr Text spanish2[] = {{0, u"diecis\u00E9is"}};
constexpr Text english7[] = {{4, u"only English"}};
constexpr Text catalan13[] = {{8, u"nom\u00E9s catal\u00E0"}};
constexpr Text neutral19[] = {{12, u"any language"}};

constexpr Block<64> blockEnglish2(english2);
constexpr Block<64> blockBritish2(british2);
constexpr Block<64> blockCatalan2(catalan2);
constexpr Block<64> blockSpanish2(spanish2);
constexpr Block<64> blockEnglish7(english7);
constexpr Block<64> blockCatalan13(catalan13);
constexpr Block<64> blockNeutral19(neutral19);

constexpr mv_resource resources[] = {
    {MV_RESOURCE_STRING, 2, 0x000A, blockSpanish2.size, blockSpanish2.units},
    {MV_RESOURCE_STRING, 2, 0x0403, blockCatalan2.size, blockCatalan2.units},
    {MV_RESOURCE_STRING, 2, 0x0409, blockEnglish2.size, blockEnglish2.units},
    {MV_RESOURCE_STRING, 2, 0x0809, blockBritish2.size, blockBritish2.units},
    {MV_RESOURCE_STRING, 7, 0x0409, blockEnglish7.size, blockEnglish7.units},
    {MV_RESOURCE_STRING, 13, 0x0403, blockCatalan13.size, blockCatalan13.units},
    {MV_RESOURCE_STRING, 19, 0x0000, blockNeutral19.size, blockNeutral19.units},
    {MV_RESOURCE_RCDATA, 7, 0x0409, 5, "bytes"},
};

} // namespace

MV_RESOURCE_TABLE(resources);

extern "C" __attribute__((visibility("default"))) int platform_strings_answer() {
    return 42;
}
