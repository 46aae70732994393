// Fuzzes the property text reader: whatever it accepts must write back to a
// text that reads again to the very same text.
#include "platform/property.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    CPropertyList list;
    const PropertyParseResult first = list.Parse(input);
    if (!first.ok && (first.position > size || first.message.IsEmpty()))
        std::abort();

    const CString written = list.GetList();
    CPropertyList again;
    const PropertyParseResult second = again.Parse(written.view());
    if (!second.ok || again.GetCount() != list.GetCount()) {
        std::fprintf(stderr, "written text does not read back: %s at %zu\n", second.message.c_str(),
                     second.position);
        std::abort();
    }
    if (again.GetList() != written) {
        std::fprintf(stderr, "text changed on the second round\n");
        std::abort();
    }

    // Walking by extraction must see the same items in the same order.
    CPropertyItem item;
    CPropertyList rest = list;
    for (int n = 0;; ++n) {
        rest.ExtractField(item, rest);
        if (item.IsEmpty()) {
            if (n != list.GetCount())
                std::abort();
            break;
        }
        CPropertyItem nth;
        if (!again.GetNth(n, nth) || !(nth == item))
            std::abort();
    }
    return 0;
}
