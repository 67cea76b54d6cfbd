// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SERVICE_MATCHRULE_H
#define PLUGIN_SERVICE_MATCHRULE_H

#include <QString>

/**
 * Has the session bus send this process one of the daemon's broadcasts, as long as it lives.
 *
 * It delivers nothing to anybody; it makes sure that the bus sends one broadcast no later than
 * another that is subscribed to next, whatever the order in which the receivers are connected.
 */
class MatchRule
{
public:
    /** `broadcast` is a signal of the daemon's object. Does not wait for the bus. */
    explicit MatchRule(const QString &broadcast);
    ~MatchRule();

private:
    Q_DISABLE_COPY(MatchRule)
    void tellBus(const QString &method) const;

    QString m_rule; ///< As the bus writes match rules.
};

#endif
