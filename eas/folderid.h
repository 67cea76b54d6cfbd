// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_FOLDERID_H
#define EAS_FOLDERID_H

#include "eas/loggedid.h"

#include <QDebug>
#include <QString>

namespace Eas {

/**
 * What the server calls a folder: the ServerId of FolderSync, the CollectionId of all else.
 *
 * Its text is opaque, for the wire, the mail store, the daemon's database and the log alone. It has
 * a class of its own so that no other text can be taken for it.
 */
class FolderId
{
public:
    /** The parent of a folder at the top of the tree; no folder itself. */
    static const FolderId Root;

    /** That of no folder. */
    FolderId() = default;
    explicit FolderId(const QString &text)
        : m_text(text)
    {
    }

    /** Whether it names no folder. */
    bool isEmpty() const { return m_text.isEmpty(); }
    const QString &text() const { return m_text; }

    bool operator==(const FolderId &other) const { return m_text == other.m_text; }
    bool operator!=(const FolderId &other) const { return m_text != other.m_text; }
    bool operator<(const FolderId &other) const { return m_text < other.m_text; }
    friend uint qHash(const FolderId &id, uint seed = 0) { return qHash(id.m_text, seed); }
    /** For the log. */
    friend QDebug operator<<(QDebug debug, const FolderId &id)
    {
        const QDebugStateSaver saver(debug);
        debug.noquote() << loggedId(id.m_text);
        return debug;
    }

private:
    QString m_text;
};

inline const FolderId FolderId::Root {QStringLiteral("0")};

} // namespace Eas

#endif
