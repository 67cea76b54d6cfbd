// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_LIMITS_H
#define EAS_LIMITS_H

#include <QtGlobal>

/** Every bound that a server's answer is held to, and every time that is waited for one. */
namespace Eas::Limits {

/** Bytes of an answer, unpacked. */
constexpr qint64 AnswerSize = 64 * 1024 * 1024;
/** Bytes of an answer that carries messages or attachments, which are not held in memory as a
 * whole; and of what is written of it. */
constexpr qint64 DownloadSize = Q_INT64_C(2) * 1024 * 1024 * 1024;
/** Bytes of an answer that are held in memory. */
constexpr qint64 HeldSize = 64 * 1024 * 1024;
/** Unpacked bytes for one packed byte (deflate's own maximum is 1032), */
constexpr int DecompressionRatio = 200;
/** ... checked beyond this many unpacked bytes: a harmless short answer can be packed that much. */
constexpr qint64 DecompressionGrace = 1024 * 1024;
/** Bytes that are read ahead of the receiver of an answer. */
constexpr qint64 ReadAhead = 256 * 1024;

/** Elements inside one another. */
constexpr int Nesting = 64;
/** Elements of one answer: an empty one has a byte or two, and takes some hundred in memory. */
constexpr int Elements = 1000 * 1000;
/** Bytes of a text that is held in memory. */
constexpr qint64 TextSize = 16 * 1024 * 1024;
/** Bytes of a document's string table. */
constexpr int StringTableSize = 64 * 1024;

/** Characters of a server's id for a folder or an item; 64 by the protocol, more is seen. */
constexpr int ServerIdLength = 512;
/** Bytes of a synchronisation key, or of a policy's key. */
constexpr int KeyLength = 4096;
/** Characters of a folder's name. */
constexpr int FolderNameLength = 1024;
/** Folders in one answer. */
constexpr int Folders = 20000;
/** Items in one window, */
constexpr int Items = 20000;
/** ... and in all windows of one folder that follow one another. */
constexpr int FolderItems = 1000 * 1000;
/** Characters of one header field of a message (the addresses of a large list are long). */
constexpr int HeaderFieldLength = 1024 * 1024;
/** Attachments of one message, */
constexpr int Attachments = 1000;
/** ... and characters of an attachment's name, and of its other properties. */
constexpr int AttachmentNameLength = 1024;
/** Results in one answer to a search, */
constexpr int SearchResults = 1000;
/** ... in how many requests they are asked for, whatever they find, */
constexpr int SearchRequests = 100;
/** ... and messages that one search brings. */
constexpr int SearchHits = 500;

/** Redirects that are followed for one request. */
constexpr int Redirects = 3;
/** Milliseconds without one byte in either direction before a request is given up. */
constexpr int IdleTime = 60 * 1000;
/** Milliseconds until the answer begins, after the request was written. */
constexpr int AnswerTime = 120 * 1000;
/** Milliseconds beyond its own waiting time that a request that waits may take. */
constexpr int WaitingGrace = 30 * 1000;
/** Seconds that a server may ask to be left alone for; more is cut to this. */
constexpr int RetryAfter = 6 * 60 * 60;
/** Milliseconds of such a pause that a command waits for; before a longer one it fails. */
constexpr int AwaitedRetryAfter = 10 * 1000;
/** Cookies of one account that are kept, */
constexpr int Cookies = 50;
/** ... and bytes of one. */
constexpr int CookieSize = 4096;

} // namespace Eas::Limits

#endif
