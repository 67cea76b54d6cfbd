// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_ANSWERPARSER_H
#define EAS_ANSWERPARSER_H

#include "eas/result.h"
#include "eas/wbxmlreader.h"

namespace Eas {

/**
 * Reads an answer as it arrives: a subclass is told of each element's start and, with its text, of
 * its end.
 *
 * Texts up to Limits::TextSize are collected; where streams() says so, they are handed on in pieces
 * instead, up to Limits::DownloadSize, and the element ends with an empty text.
 */
class AnswerParser
{
public:
    /** `root`: the element that the answer must begin with. */
    explicit AnswerParser(Tag root)
        : m_root(root)
    {
    }
    virtual ~AnswerParser() = default;

    /** Whether all is well so far; after false, errorString() says what is wrong. */
    bool feed(const QByteArray &bytes);
    /** The answer ended: whether it was complete and well-formed. */
    bool finish();

    QString errorString() const { return m_error; }
    /** Which ResultCode the error is. */
    int errorCode() const { return m_errorCode; }
    /** Nothing has come so far. */
    bool isUntouched() const { return !m_begun && m_error.isEmpty(); }
    /** The status that the answer as a whole carries (one right below the root), 0 where it has
     * none. */
    int status() const { return m_status; }

protected:
    /** Whether the answer may begin with it. */
    virtual bool isRoot(Tag tag) const { return tag == m_root; }
    virtual void startElement(Tag tag) { Q_UNUSED(tag) }
    virtual void endElement(Tag tag, const QByteArray &text) = 0;
    virtual bool streams(Tag tag) const
    {
        Q_UNUSED(tag)
        return false;
    }
    virtual void piece(Tag tag, const QByteArray &bytes)
    {
        Q_UNUSED(tag)
        Q_UNUSED(bytes)
    }
    /** Bytes of an element's text that are kept; the rest is passed over, and textWasCut() tells.
     */
    virtual qint64 textLimit(Tag tag) const;
    bool textWasCut() const { return m_cut; }
    /** Ends the reading with an error of the answer, or of what takes its content. */
    void fail(const QString &error, int code = InvalidAnswer);

    /** The open element that is `up` levels above the current one (0: itself); NoTag above the
     * root. */
    Tag enclosing(int up) const;
    bool isInside(Tag tag) const { return m_path.contains(tag); }

private:
    bool drain();
    void start(Tag tag);
    void text(const QByteArray &bytes);
    void stream(Tag tag, const QByteArray &bytes);
    void end(Tag tag);

    const Tag m_root;
    WbxmlReader m_reader;
    QVector<Tag> m_path;
    QByteArray m_text;
    QString m_error;
    int m_errorCode = InvalidAnswer;
    int m_status = 0;
    int m_elements = 0;
    qint64 m_held = 0;
    qint64 m_streamed = 0;
    bool m_cut = false;
    bool m_begun = false;
    bool m_complete = false;
};

} // namespace Eas

#endif
