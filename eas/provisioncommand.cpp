// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/provisioncommand.h"

#include "eas/deviceinformation.h"
#include "eas/session.h"
#include "eas/status.h"
#include "eas/wbxmlwriter.h"

namespace Eas {

namespace {

namespace P = Tags::Provision;

const QString policyType = QStringLiteral("MS-EAS-Provisioning-WBXML");

/** A policy's own status. */
enum PolicyStatus { NotSaid = 0, PolicyOk = 1, NoPolicy = 2 };

/** What is said of the policy. */
constexpr int Met = 1;

} // namespace

class ProvisionCommand::Parser : public AnswerParser
{
public:
    Parser()
        : AnswerParser(P::Provision)
    {
    }

    QString key;
    Policy policy;
    int policyStatus = NotSaid;
    bool wipe = false;

protected:
    void startElement(Tag tag) override { wipe = wipe || tag == P::RemoteWipe; }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == P::PolicyKey) {
            key = QString::fromUtf8(text.left(Limits::KeyLength));
        } else if (tag == P::Status && isInside(P::Policies)) {
            takeStatus(text.trimmed().toInt());
        } else if (isInside(P::EASProvisionDoc)) {
            policy.add(tag, text);
        }
    }

private:
    /** Where it belongs it counts; some servers have it in the place of it elsewhere. */
    void takeStatus(int status)
    {
        if (enclosing(1) == P::Policy || policyStatus == NotSaid) {
            policyStatus = status;
        }
    }
};

ProvisionCommand::ProvisionCommand(Session *session)
    : Command(session)
{
}

ProvisionCommand::ProvisionCommand(Session *session, const QString &key)
    : Command(session)
    , m_sentKey(key)
{
}

QByteArray ProvisionCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(P::Provision);
    if (m_sentKey.isEmpty() && session()->version() >= 141) {
        writeDeviceInformation(&writer, session()->device());
    }
    writer.startElement(P::Policies);
    writer.startElement(P::Policy);
    writer.element(P::PolicyType, policyType);
    if (!m_sentKey.isEmpty()) {
        writer.element(P::PolicyKey, m_sentKey);
        writer.element(P::Status, Met);
    }
    writer.endDocument();
    return bytes;
}

AnswerParser *ProvisionCommand::newParser()
{
    return m_parser = new Parser;
}

Result ProvisionCommand::evaluate()
{
    m_wipe = m_parser->wipe;
    m_key = m_parser->key;
    m_policy = m_parser->policy;
    if (m_wipe) {
        return commonStatusResult(140);
    }
    // Some servers leave a status out; what there is says whether there is a policy.
    if (m_parser->status() > 1) {
        return statusResult(ServerFailed, m_parser->status(), "the server could not provision");
    }
    if (m_parser->policyStatus == NoPolicy && m_sentKey.isEmpty()) {
        m_key.clear();
        return {};
    }
    if (m_parser->policyStatus != PolicyOk && m_parser->policyStatus != NotSaid) {
        return statusResult(ServerFailed, m_parser->policyStatus,
                            "the server did not go on provisioning");
    }
    return m_key.isEmpty() ? Result {InvalidAnswer, QStringLiteral("a policy without a key")}
                           : Result {};
}

} // namespace Eas
