// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/outgoingfile.h"

#include "daemon/store/outgoing/base64lines.h"
#include "daemon/store/outgoing/base64reader.h"

#include <qmailnamespace.h>

#include <algorithm>

namespace Daemon {

struct OutgoingFile::State
{
    OutgoingFile *owner = nullptr; ///< null once it is gone
    QList<Store::Insertion> insertions;
    qint64 size = 0;
    bool ended = false;
    bool changed = false;

    bool isUnchanged() const
    {
        return std::all_of(insertions.begin(), insertions.end(),
                           [](const auto &one) { return one.file->isUnchanged(); });
    }
};

/** Reads through a name of its own for the open file, so that each has its own position. */
class OutgoingFile::Reader : public QIODevice
{
public:
    explicit Reader(const OutgoingFile &file)
        : m_state(file.m_state)
        , m_frame(QStringLiteral("/proc/self/fd/%1").arg(file.m_file.handle()))
    {
        if (m_frame.open(ReadOnly | Unbuffered))
            open(ReadOnly | Unbuffered);
    }

    qint64 size() const override { return m_state->size; }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        if (!mayLeave())
            return -1;
        const qint64 count = size > 0 ? readNext(data, size) : 0;
        m_read += qMax<qint64>(0, count);
        const bool isLast = m_read >= m_state->size;
        const bool hasChanged = count < 0 || (isLast && !m_state->isUnchanged());
        m_state->changed = m_state->changed || hasChanged;
        m_broken = hasChanged || (isLast && !mayEnd());
        m_state->ended = m_state->ended || (isLast && !m_broken);
        return m_broken ? -1 : count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    bool mayLeave()
    {
        if (m_broken || !m_state->owner)
            return false;
        const std::function<bool()> &ask = m_state->owner->mayLeave;
        m_mayLeave = m_mayLeave || !ask || ask();
        return m_mayLeave && m_state->owner;
    }

    bool mayEnd()
    {
        const std::function<bool()> &ask = m_state->owner->mayEnd;
        m_mayEnd = m_mayEnd || !ask || ask();
        return m_mayEnd;
    }

    /** Of the file, up to the next insertion, or of that. */
    qint64 readNext(char *data, qint64 size)
    {
        const bool isMore = m_next < m_state->insertions.size();
        const qint64 end = isMore ? m_state->insertions.at(m_next).at : m_frame.size();
        if (m_frame.pos() < end)
            return m_frame.read(data, qMin(size, end - m_frame.pos()));
        return isMore ? readInserted(data, size) : 0;
    }

    qint64 readInserted(char *data, qint64 size)
    {
        const auto &file = m_state->insertions.at(m_next).file;
        if (!m_inserted) {
            m_inserted = std::make_unique<Store::Base64Reader>(file);
            m_left = Store::Base64Lines::encodedSize(file->size());
        }
        const qint64 count = m_inserted->read(data, size);
        m_left -= qMax<qint64>(0, count);
        if (m_left == 0) {
            m_inserted.reset();
            ++m_next;
        }
        return count;
    }

    const std::shared_ptr<State> m_state;
    QFile m_frame;
    int m_next = 0; ///< the insertion that was not wholly read
    std::unique_ptr<Store::Base64Reader> m_inserted;
    qint64 m_left = 0; ///< of it
    bool m_mayLeave = false;
    bool m_mayEnd = false;
    bool m_broken = false;
    qint64 m_read = 0;
};

OutgoingFile::OutgoingFile()
    : m_file(QMail::dataPath() + QStringLiteral("asdaemon-sending-XXXXXX"))
    , m_state(std::make_shared<State>())
{
    m_state->owner = this;
    m_file.open();
}

OutgoingFile::~OutgoingFile()
{
    m_state->owner = nullptr;
}

bool OutgoingFile::close(const QList<Store::Insertion> &insertions)
{
    const bool isWhole = m_file.flush() && m_file.error() == QFileDevice::NoError;
    m_state->insertions = insertions;
    m_state->size = m_file.size();
    for (const Store::Insertion &one : insertions)
        m_state->size += Store::Base64Lines::encodedSize(one.file->size());
    return isWhole;
}

qint64 OutgoingFile::size() const
{
    return m_state->size;
}

bool OutgoingFile::hasEnded() const
{
    return m_state->ended;
}

bool OutgoingFile::hasChanged() const
{
    return m_state->changed;
}

std::unique_ptr<QIODevice> OutgoingFile::reader()
{
    m_state->ended = false;
    m_state->changed = false;
    return std::make_unique<Reader>(*this);
}

} // namespace Daemon
