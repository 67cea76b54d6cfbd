// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_FILTERTYPE_H
#define EAS_FILTERTYPE_H

namespace Eas {

/** How far back mail is wanted, [MS-ASCMD] 2.2.3.68.2. */
enum class FilterType {
    Everything = 0,
    OneDay = 1,
    ThreeDays = 2,
    OneWeek = 3,
    TwoWeeks = 4,
    OneMonth = 5
};

} // namespace Eas

#endif
