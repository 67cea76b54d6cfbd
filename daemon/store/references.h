// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_REFERENCES_H
#define STORE_REFERENCES_H

#include "daemon/eas/result.h"

#include <qmailmessage.h>

namespace Store {

/** A message's parts that only name another message of the mail store, or a part of one. */
namespace References {

/** Leaves out those that name the message or parts of it. */
void drop(QMailMessage *message, const QMailMessageId &named);

/** Puts the content in the place of its name; NotFound where it is not here. */
Eas::Result resolve(QMailMessage *message);

} // namespace References

} // namespace Store

#endif
