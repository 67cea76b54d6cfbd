// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_TAGS_H
#define EAS_TAGS_H

#include <QtGlobal>

namespace Eas {

/** An element's name on the wire: its code page in the high byte, its token (6 bits) in the low
 * one. */
using Tag = quint16;

constexpr Tag NoTag = 0;

/** Every tag that is known here, by its namespace: Tags::AirSync::SyncKey. */
namespace Tags {
#define EAS_TAG(space, page, token, identifier, name)                                              \
    namespace space {                                                                              \
    constexpr Tag identifier = (page << 8) | token;                                                \
    }
#include "eas/tags.def"
#undef EAS_TAG
} // namespace Tags

/** A row of the table of tags. */
struct TagEntry
{
    Tag tag;
    const char *space; ///< without the colon that XML shows
    const char *name;
};

/** The row of `tag`, or null where it is not known. */
const TagEntry *findTag(Tag tag);
/** For tests: the whole table, ordered by tag, and the number of its rows. */
const TagEntry *allTags(int *count);

} // namespace Eas

#endif
