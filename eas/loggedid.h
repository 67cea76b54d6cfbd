// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_LOGGEDID_H
#define EAS_LOGGEDID_H

#include <QString>
#include <QUrl>

namespace Eas {

/**
 * How the log names what a server calls a folder or an item: "{5}".
 *
 * Some servers make such ids of the names of people and folders. In braces, and without blanks and
 * braces of its own, an id can be told from all else and be taken out.
 */
inline QString loggedId(const QString &id)
{
    return QLatin1Char('{') + QString::fromLatin1(QUrl::toPercentEncoding(id, "%/:"))
        + QLatin1Char('}');
}

} // namespace Eas

#endif
