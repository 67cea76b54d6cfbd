// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/provisioncommand.h"

#include "eas/deviceinformation.h"
#include "eas/session.h"
#include "eas/status.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace P = Tags::Provision;

const QString PolicyType = QStringLiteral("MS-EAS-Provisioning-WBXML");

/** A policy's own status. */
enum PolicyStatus { NotSaid = 0, PolicyOk = 1, NoPolicy = 2 };

/** The status that tells the server that its policy is met. */
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
        if (tag == P::PolicyKey)
            key = QString::fromUtf8(text.left(Limits::KeyLength));
        else if (tag == P::Status && isInside(P::Policies))
            takeStatus(text.trimmed().toInt());
        else if (isInside(P::EASProvisionDoc))
            policy.add(tag, text);
    }

private:
    /** The status in Policy counts; some servers have it elsewhere in Policies instead. */
    void takeStatus(int status)
    {
        if (enclosing(1) == P::Policy || policyStatus == NotSaid)
            policyStatus = status;
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
    if (m_sentKey.isEmpty() && session()->version() >= 141)
        writeDeviceInformation(&writer, session()->device());
    writer.startElement(P::Policies);
    writer.startElement(P::Policy);
    writer.element(P::PolicyType, PolicyType);
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
    if (m_wipe)
        return wipeResult();
    // A missing status is no failure: some servers leave it out.
    if (m_parser->status() > 1)
        return statusResult(ServerFailed, m_parser->status(),
                            FailureText::mark("the server could not provision"),
                            borrowedOutcome(m_parser->status()));
    if (m_parser->policyStatus == NoPolicy && m_sentKey.isEmpty()) {
        m_key.clear();
        return {};
    }
    if (m_parser->policyStatus != PolicyOk && m_parser->policyStatus != NotSaid)
        return statusResult(ServerFailed, m_parser->policyStatus,
                            FailureText::mark("the server did not go on provisioning"),
                            borrowedOutcome(m_parser->policyStatus));
    return m_key.isEmpty() ? Result {InvalidAnswer, FailureText::english("a policy without a key")}
                           : Result {};
}

} // namespace Eas
