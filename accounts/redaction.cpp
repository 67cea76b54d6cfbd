// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/redaction.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QSysInfo>

#include <algorithm>

namespace Accounts {

namespace {

const QString AddressKind = QStringLiteral("address");
const QString ServerKind = QStringLiteral("server");
const QString UserKind = QStringLiteral("user");
const QString NameKind = QStringLiteral("name");
const QString Secret = QStringLiteral("(secret)");

/** A shorter one is as likely a word of the text as the secret. */
constexpr int MinimumSecret = 4;

/** Names of headers and parameters whose values open something or tell who asks. */
const QString SecretFields =
    QStringLiteral("(?<header>(?:Proxy-)?Authorization|(?:Set-)?Cookie|X-MS-PolicyKey)"
                   "(?<gap>\\s*[:=]\\s*)[^\\r\\n]+"
                   "|(?<scheme>\\b(?:Basic|Bearer|NTLM|Negotiate)\\s+)[A-Za-z0-9+/._~=-]{6,}"
                   "|(?<parameter>\\b(?:access_token|refresh_token|token|password|passwd|secret|"
                   "api_?key|PolicyKey|DeviceId|User)=)[^\\s&\"']+");
/** What an account's key, a token or an encoded login looks like: long, and no word. */
const QString Keys = QStringLiteral(
    "(?<key>"
    "\\b[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\\b"
    "|(?<![A-Za-z0-9+/_.-])(?!/[a-z.]+/)(?=[A-Za-z0-9+/_-]*[0-9])(?=[A-Za-z0-9+/_-]*[a-z])"
    "(?=[A-Za-z0-9+/_-]*[A-Z])[A-Za-z0-9+/_-]{20,}={0,2}"
    "|(?<![A-Za-z0-9])(?=[A-Za-z]*[0-9])(?=[0-9]*[A-Za-z])[A-Za-z0-9]{20,})");
/** What a server calls a folder or an item, as the log has it. */
const QString Id = QStringLiteral("\\{(?<id>[^\\s{}]+)\\}");
const QString Url =
    QStringLiteral("(?<protocol>[A-Za-z][A-Za-z0-9+.-]*)://(?:[^\\s/?#@\"'<>]*@)?"
                   "(?<host>\\[[0-9A-Fa-f:.]+\\]|[^\\s/?#:\"'<>()]*)(?<port>:[0-9]+)?[^\\s\"'<>]*");
const QString Address =
    QStringLiteral("(?<address>[^\\s\"'<>(),;:=]+(?:@|%40)[^\\s\"'<>(),;:]*[\\w\\]])");

/** The longest first, so that of two that begin alike the whole one is found. */
QString alternatives(QStringList texts)
{
    std::sort(texts.begin(), texts.end(),
              [](const QString &a, const QString &b) { return a.size() > b.size(); });
    for (QString &text : texts)
        text = QRegularExpression::escape(text);
    return texts.join(QLatin1Char('|'));
}

QString base64(const QString &text)
{
    QByteArray encoded = text.toUtf8().toBase64(QByteArray::OmitTrailingEquals);
    // The last letter depends on what follows.
    encoded.chop(1);
    return QString::fromLatin1(encoded);
}

/** Replaced wherever it is, a word would tell that it is the secret. */
bool isWord(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar letter) { return letter.isLetter(); });
}

} // namespace

Redaction::Redaction()
{
    compile();
}

void Redaction::addAccount(const AccountDetails &details)
{
    const AccountSettings &settings = details.settings;
    placeholder(AddressKind, settings.email);
    addHost(settings.server);
    addHost(settings.email.section(QLatin1Char('@'), -1));
    add(UserKind, settings.userName);
    add(UserKind, settings.email.section(QLatin1Char('@'), 0, -2));
    add(QStringLiteral("domain"), settings.domain);
    add(NameKind, details.name);
    add(NameKind, details.fullName);
    addLogin(settings);
}

/** Also as HTTP and the mail store have it. */
void Redaction::addLogin(const AccountSettings &settings)
{
    if (settings.password.isEmpty())
        return;
    if (!isWord(settings.password))
        addSecret(settings.password);
    addSecret(base64(settings.password));
    const QString login = settings.userName + QLatin1Char(':') + settings.password;
    addSecret(base64(login));
    addSecret(base64(settings.domain + QLatin1Char('\\') + login));
}

void Redaction::addMachine()
{
    const QString home = QDir::homePath();
    if (home.size() > 1) {
        m_placeholders.insert(home.toLower(), QStringLiteral("~"));
        m_names.append(home);
    }
    add(UserKind, qEnvironmentVariable("USER"));
    add(UserKind, QDir(home).dirName());
    add(QStringLiteral("machine"), QSysInfo::machineHostName());
    compile();
}

void Redaction::addSecret(const QString &secret)
{
    if (secret.size() >= MinimumSecret)
        m_secrets.append(secret);
    compile();
}

void Redaction::add(const QString &kind, const QString &name)
{
    if (name.trimmed().isEmpty())
        return;
    placeholder(kind, name);
    m_names.append(name);
    compile();
}

void Redaction::addHost(const QString &host)
{
    if (host.isEmpty() || host == QLatin1String("localhost"))
        return;
    placeholder(ServerKind, host);
    m_hosts.append(host);
    compile();
}

QString Redaction::placeholder(const QString &kind, const QString &name)
{
    if (name.isEmpty())
        return {};
    QString &found = m_placeholders[name.toLower()];
    if (found.isEmpty())
        found = QStringLiteral("(%1 %2)").arg(kind).arg(++m_counts[kind]);
    return found;
}

void Redaction::compile()
{
    QStringList patterns {SecretFields, Id, Url};
    if (!m_secrets.isEmpty())
        patterns.prepend(QStringLiteral("(?<secret>(?-i:%1))").arg(alternatives(m_secrets)));
    patterns.append(Address);
    if (!m_hosts.isEmpty())
        patterns.append(QStringLiteral("(?<![\\w.-])(?<below>(?:[\\w-]+\\.)*)(?<known>%1)(?![\\w])")
                            .arg(alternatives(m_hosts)));
    if (!m_names.isEmpty())
        patterns.append(
            QStringLiteral("(?<![\\w])(?<name>%1)(?![\\w])").arg(alternatives(m_names)));
    patterns.append(QStringLiteral("(?-i:%1)").arg(Keys));
    m_pattern = QRegularExpression(patterns.join(QLatin1Char('|')),
                                   QRegularExpression::CaseInsensitiveOption
                                       | QRegularExpression::UseUnicodePropertiesOption);
}

QString Redaction::text(const QString &text)
{
    QString result;
    int end = 0;
    for (auto matches = m_pattern.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        result += text.mid(end, match.capturedStart() - end) + replacement(match);
        end = match.capturedEnd();
    }
    return result + text.mid(end);
}

QString Redaction::replacement(const QRegularExpressionMatch &match)
{
    const auto part = [&match](const char *name) { return match.captured(QLatin1String(name)); };
    if (!part("secret").isEmpty() || !part("key").isEmpty())
        return Secret;
    const QString kept = part("header") + part("gap") + part("scheme") + part("parameter");
    if (!kept.isEmpty())
        return kept + Secret;
    if (!part("id").isEmpty())
        return placeholder(QStringLiteral("id"), QLatin1Char('{') + part("id"));
    if (!part("protocol").isEmpty())
        return part("protocol") + QLatin1String("://") + placeholder(ServerKind, part("host"))
            + part("port");
    if (!part("address").isEmpty())
        return placeholder(AddressKind,
                           part("address").replace(QLatin1String("%40"), QLatin1String("@")));
    if (!part("known").isEmpty())
        return placeholder(ServerKind, part("below") + part("known"));
    return placeholder(NameKind, part("name"));
}

QJsonValue Redaction::json(const QJsonValue &value)
{
    if (value.isString())
        return text(value.toString());
    if (value.isArray()) {
        QJsonArray array;
        for (const QJsonValue &element : value.toArray())
            array.append(json(element));
        return array;
    }
    if (!value.isObject())
        return value;
    QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member)
        member.value() = json(member.value());
    return object;
}

} // namespace Accounts
