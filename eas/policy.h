// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_POLICY_H
#define EAS_POLICY_H

#include "eas/tags.h"

#include <QStringList>

namespace Eas {

/**
 * What a server's policy demands of the device, [MS-ASPROV] 2.2.2.
 *
 * This program keeps mail on somebody's computer: it sets no passwords, encrypts no discs and
 * switches no radios, and says so. A policy is met where it demands nothing of that kind.
 */
class Policy
{
public:
    /** Takes one setting of the policy document. */
    void add(Tag setting, const QByteArray &value);

    bool isMet() const { return m_unmet.isEmpty(); }
    /** Name and value of what is demanded and not met here. */
    const QStringList &unmet() const { return m_unmet; }

private:
    QStringList m_unmet;
};

} // namespace Eas

#endif
