// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_POLICY_H
#define EAS_POLICY_H

#include "eas/tags.h"

#include <QStringList>

namespace Eas {

/**
 * What a server's policy demands of the device, [MS-ASPROV] 2.2.2.
 *
 * Nothing is enforced here: no password, no encryption, no device switched off. A policy is met
 * where it demands nothing of that kind.
 */
class Policy
{
public:
    /** Takes one setting of the policy document. */
    void add(Tag setting, const QByteArray &value);

    /** Name and value of what is demanded and not met here. */
    const QStringList &unmet() const { return m_unmet; }

private:
    QStringList m_unmet;
};

} // namespace Eas

#endif
