// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_REQUESTBODY_H
#define EAS_REQUESTBODY_H

#include <QIODevice>

#include <memory>
#include <vector>

namespace Eas {

/**
 * What a request sends: bytes and devices, one behind the other, of a known size in all.
 *
 * Once read from, it cannot be read from the start again: Qt's HTTP silently sends a request a
 * second time where the connection breaks before the answer, and the server may have acted on it
 * already.
 */
class RequestBody : public QIODevice
{
    Q_OBJECT

public:
    RequestBody();
    ~RequestBody() override;

    void add(const QByteArray &bytes);
    /** The next `size` bytes of an open device. A device that has fewer fails the request. */
    void add(std::unique_ptr<QIODevice> device, qint64 size);

    qint64 size() const override { return m_size; }
    bool seek(qint64 pos) override;
    bool atEnd() const override { return pos() >= m_size; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    struct Part
    {
        std::unique_ptr<QIODevice> device;
        qint64 left;
    };

    std::vector<Part> m_parts;
    size_t m_current = 0;
    qint64 m_size = 0;
    bool m_begun = false;
};

} // namespace Eas

#endif
