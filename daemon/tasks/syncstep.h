// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_SYNCSTEP_H
#define DAEMON_TASKS_SYNCSTEP_H

#include "eas/folderid.h"

namespace Daemon {

/** What a synchronisation does in one go: it carries local changes, or fetches the folder tree, or
 * a folder. */
class SyncStep
{
public:
    static const SyncStep Upload;
    static const SyncStep Tree;

    /** Of the folder with that server id. */
    explicit SyncStep(const Eas::FolderId &collectionId)
        : SyncStep(Kind::Folder, collectionId)
    {
    }

    bool isFolder() const { return m_kind == Kind::Folder; }
    /** Empty of all but a folder. */
    Eas::FolderId collectionId() const { return m_collectionId; }
    /** For the log. */
    QString name() const
    {
        return isFolder() ? Eas::loggedId(m_collectionId.text())
                          : QLatin1String(m_kind == Kind::Tree ? "folder tree" : "local changes");
    }

    bool operator==(const SyncStep &other) const
    {
        return m_kind == other.m_kind && m_collectionId == other.m_collectionId;
    }
    bool operator!=(const SyncStep &other) const { return !(*this == other); }
    friend uint qHash(const SyncStep &step, uint seed = 0)
    {
        return qHash(step.m_collectionId, seed) ^ uint(step.m_kind);
    }

private:
    enum class Kind { Upload, Tree, Folder };

    SyncStep(Kind kind, const Eas::FolderId &collectionId)
        : m_kind(kind)
        , m_collectionId(collectionId)
    {
    }

    Kind m_kind;
    Eas::FolderId m_collectionId;
};

inline const SyncStep SyncStep::Upload {Kind::Upload, {}};
inline const SyncStep SyncStep::Tree {Kind::Tree, {}};

} // namespace Daemon

#endif
