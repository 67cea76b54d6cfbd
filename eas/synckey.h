// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SYNCKEY_H
#define EAS_SYNCKEY_H

#include <QString>

namespace Eas {

/** The key of a folder, or of the folder tree, that is synchronised from the start. No server hands
 * it out; all other keys are opaque. */
inline const QString FirstKey = QStringLiteral("0");

} // namespace Eas

#endif
