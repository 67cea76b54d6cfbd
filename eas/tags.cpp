// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/tags.h"

#include <algorithm>
#include <iterator>

namespace Eas {

namespace {

constexpr TagEntry Table[] = {
#define EAS_TAG(space, page, token, identifier, name) {Tags::space::identifier, #space, name},
#include "eas/tags.def"
#undef EAS_TAG
};

constexpr bool isOrdered()
{
    for (int i = 1; i < int(std::size(Table)); ++i) {
        if (Table[i - 1].tag >= Table[i].tag)
            return false;
    }
    return true;
}
static_assert(isOrdered(), "findTag() is a binary search");

} // namespace

const TagEntry *findTag(Tag tag)
{
    const auto row =
        std::lower_bound(std::begin(Table), std::end(Table), tag,
                         [](const TagEntry &entry, Tag wanted) { return entry.tag < wanted; });
    return row != std::end(Table) && row->tag == tag ? row : nullptr;
}

const TagEntry *allTags(int *count)
{
    *count = int(std::size(Table));
    return Table;
}

} // namespace Eas
