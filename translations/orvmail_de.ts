<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Accounts::AccountForm</name>
    <message>
        <source>&amp;Name</source>
        <translation>&amp;Name</translation>
    </message>
    <message>
        <source>what you call this account; the address if left empty</source>
        <translation>wie Sie dieses Konto nennen; leer: die Adresse</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountList</name>
    <message>
        <source>Accounts</source>
        <translation>Konten</translation>
    </message>
    <message>
        <source>(new account)</source>
        <translation>(neues Konto)</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountPage</name>
    <message>
        <source>Account</source>
        <translation>Konto</translation>
    </message>
    <message>
        <source>&amp;Login</source>
        <translation>Anmel&amp;dung</translation>
    </message>
    <message>
        <source>&amp;Options</source>
        <translation>&amp;Optionen</translation>
    </message>
    <message>
        <source>Out&amp;box</source>
        <translation>&amp;Postausgang</translation>
    </message>
    <message>
        <source>Out&amp;box (%1)</source>
        <translation>&amp;Postausgang (%1)</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountState</name>
    <message>
        <source>wiped by its server</source>
        <translation>vom Server gelöscht</translation>
    </message>
    <message>
        <source>not used</source>
        <translation>nicht verwendet</translation>
    </message>
    <message>
        <source>password refused</source>
        <translation>Passwort abgelehnt</translation>
    </message>
    <message>
        <source>policy not met</source>
        <translation>Richtlinie verletzt</translation>
    </message>
    <message>
        <source>mail not sent</source>
        <translation>Mail nicht gesendet</translation>
    </message>
    <message>
        <source>synchronising</source>
        <translation>wird synchronisiert</translation>
    </message>
    <message>
        <source>needs attention</source>
        <translation>braucht Sie</translation>
    </message>
    <message>
        <source>not synchronised yet</source>
        <translation>nie synchronisiert</translation>
    </message>
    <message>
        <source>all is well</source>
        <translation>alles in Ordnung</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountWindow</name>
    <message>
        <source>Mail accounts</source>
        <translation>Mailkonten</translation>
    </message>
    <message>
        <source>&amp;Accounts</source>
        <translation>&amp;Konten</translation>
    </message>
    <message>
        <source>Ne&amp;w account</source>
        <translation>Ne&amp;ues Konto</translation>
    </message>
    <message>
        <source>&amp;Remove...</source>
        <translation>&amp;Entfernen...</translation>
    </message>
    <message>
        <source>&amp;Test the login</source>
        <translation>Anmeldung &amp;testen</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Save witho&amp;ut a test</source>
        <translation>Ohne Test speiche&amp;rn</translation>
    </message>
    <message>
        <source>Another program has removed the account; saving adds it anew.</source>
        <translation>Ein anderes Programm hat das Konto entfernt; Speichern legt es neu an.</translation>
    </message>
    <message>
        <source>Discard the changes that are not saved?</source>
        <translation>Die nicht gespeicherten Änderungen verwerfen?</translation>
    </message>
    <message>
        <source>Removed.</source>
        <translation>Entfernt.</translation>
    </message>
    <message>
        <source>S&amp;ynchronise now</source>
        <translation>Jetzt s&amp;ynchronisieren</translation>
    </message>
</context>
<context>
    <name>Accounts::FavouriteList</name>
    <message>
        <source>Favourite folders</source>
        <translation>Favoriten</translation>
    </message>
    <message>
        <source>the mail store refuses to change the folder %1</source>
        <translation>der Mailspeicher lässt den Ordner %1 nicht ändern</translation>
    </message>
</context>
<context>
    <name>Accounts::FirstPage</name>
    <message>
        <source>Enter your mail address and its password: the server is found from them.</source>
        <translation>Geben Sie Ihre Mailadresse und das Passwort dazu ein: Der Server wird danach gefunden.</translation>
    </message>
    <message>
        <source>name@example.com</source>
        <translation>name@example.com</translation>
    </message>
    <message>
        <source>&amp;Mail address</source>
        <translation>&amp;Mailadresse</translation>
    </message>
    <message>
        <source>&amp;Password</source>
        <translation>Pass&amp;wort</translation>
    </message>
    <message>
        <source>&amp;Enter the server yourself</source>
        <translation>Ser&amp;ver selbst eingeben</translation>
    </message>
    <message>
        <source>&amp;Find the server</source>
        <translation>Server &amp;finden</translation>
    </message>
    <message>
        <source>the password is missing</source>
        <translation>das Passwort fehlt</translation>
    </message>
    <message>
        <source>Looking for the server of %1</source>
        <translation>Der Server von %1 wird gesucht</translation>
    </message>
    <message>
        <source>The search leads to %1, which is not part of your address.</source>
        <translation>Die Suche führt zu %1, was nicht zu Ihrer Adresse gehört.</translation>
    </message>
    <message>
        <source>Send your address and your password there?</source>
        <translation>Ihre Adresse und Ihr Passwort dorthin senden?</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>Abgebrochen.</translation>
    </message>
    <message>
        <source>The server was not found; enter it here. (%1)</source>
        <translation>Der Server wurde nicht gefunden; geben Sie ihn hier ein. (%1)</translation>
    </message>
</context>
<context>
    <name>Accounts::MailFetch</name>
    <message>
        <source>Synchronised: nothing has changed.</source>
        <translation>Synchronisiert: Nichts hat sich geändert.</translation>
    </message>
    <message>
        <source>Synchronised. New: %1, changed: %2, gone: %3</source>
        <translation>Synchronisiert. Neu: %1, geändert: %2, weg: %3</translation>
    </message>
    <message>
        <source>It is not synchronised, as it is not used. Tick this and save it.</source>
        <translation>Es wird nicht synchronisiert, weil es nicht verwendet wird. Kreuzen Sie dies an und speichern Sie es.</translation>
    </message>
    <message>
        <source>Synchronising &quot;%1&quot;</source>
        <translation>„%1“ wird synchronisiert</translation>
    </message>
    <message>
        <source>Saved. Bringing the mail of &quot;%1&quot;</source>
        <translation>Gespeichert. Die Mails von „%1“ werden geholt</translation>
    </message>
</context>
<context>
    <name>Accounts::OptionsPane</name>
    <message>
        <source>Use th&amp;is account</source>
        <translation>D&amp;ieses Konto verwenden</translation>
    </message>
    <message>
        <source>&amp;Push</source>
        <translation>Pus&amp;h</translation>
    </message>
    <message>
        <source>Your &amp;full name, as it goes into the mails that you send</source>
        <translation>Ihr vollständi&amp;ger Name, wie er in den Mails steht, die Sie senden</translation>
    </message>
    <message>
        <source>An account that is not used keeps its mail here and fetches no more.</source>
        <translation>Ein Konto, das nicht verwendet wird, behält seine Mails hier und holt keine mehr.</translation>
    </message>
    <message>
        <source>The server tells of new mail as soon as it has come.</source>
        <translation>Der Server meldet neue Mails, sobald sie da sind.</translation>
    </message>
    <message>
        <source>How far back mail is &amp;kept here</source>
        <translation>Wie weit zurück &amp;Mails hier bleiben</translation>
    </message>
    <message>
        <source>Fa&amp;vourite folders</source>
        <translation>&amp;Favoriten</translation>
    </message>
    <message>
        <source>Tell &amp;me on the desktop</source>
        <translation>Auf dem Desktop benachri&amp;chtigen</translation>
    </message>
    <message>
        <source>A notification tells when the password is refused or a mail was not sent.</source>
        <translation>Eine Benachrichtigung sagt es, wenn das Passwort zurückgewiesen oder eine Mail nicht gesendet wurde.</translation>
    </message>
</context>
<context>
    <name>Accounts::OutboxPane</name>
    <message>
        <source>Mail that waits to be sent</source>
        <translation>Mails, die auf das Senden warten</translation>
    </message>
    <message>
        <source>Put back among the &amp;drafts</source>
        <translation>Zu den Entwürfen zurück&amp;legen</translation>
    </message>
    <message>
        <source>Try a&amp;gain</source>
        <translation>Noch ein&amp;mal versuchen</translation>
    </message>
    <message>
        <source>Nothing waits to be sent.</source>
        <translation>Nichts wartet auf das Senden.</translation>
    </message>
    <message>
        <source>Mail t&amp;hat waits to be sent</source>
        <translation>Mails, die auf das Senden &amp;warten</translation>
    </message>
    <message>
        <source>The mail is being sent just now.</source>
        <translation>Die Mail wird gerade gesendet.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not used: see the options.</source>
        <translation>„%1“ wird nicht verwendet: siehe die Optionen.</translation>
    </message>
    <message>
        <source>Sending</source>
        <translation>Die Mail wird gesendet</translation>
    </message>
    <message>
        <source>The mail is sent.</source>
        <translation>Die Mail ist gesendet.</translation>
    </message>
    <message>
        <source>Send it again?</source>
        <translation>Noch einmal senden?</translation>
    </message>
    <message>
        <source>The mail is among the drafts. It may have been sent: look in Sent before you send it from there.</source>
        <translation>Die Mail ist bei den Entwürfen. Sie wurde vielleicht gesendet: Sehen Sie in den gesendeten nach, bevor Sie sie von dort senden.</translation>
    </message>
    <message>
        <source>The mail is among the drafts.</source>
        <translation>Die Mail ist bei den Entwürfen.</translation>
    </message>
    <message>
        <source>Asking the message server</source>
        <translation>Der Nachrichtenserver wird gefragt</translation>
    </message>
</context>
<context>
    <name>Accounts::Removal</name>
    <message>
        <source>Remove &quot;%1&quot; with all its mail from this machine?</source>
        <translation>„%1“ mit allen Mails von diesem Rechner entfernen?</translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation>&amp;Entfernen</translation>
    </message>
    <message>
        <source>&amp;Keep</source>
        <translation>&amp;Behalten</translation>
    </message>
</context>
<context>
    <name>Accounts::Saving</name>
    <message>
        <source>there is an account of this name already</source>
        <translation>es gibt schon ein Konto dieses Namens</translation>
    </message>
    <message>
        <source>Trying the login at %1</source>
        <translation>Anmeldung bei %1 wird versucht</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>Abgebrochen.</translation>
    </message>
    <message>
        <source>The settings have changed since; test them again.</source>
        <translation>Die Einstellungen haben sich seitdem geändert; testen Sie sie noch einmal.</translation>
    </message>
    <message>
        <source>%1 accepts the login.</source>
        <translation>%1 nimmt die Anmeldung an.</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>Gespeichert.</translation>
    </message>
    <message>
        <source>another program has changed this account meanwhile; choose it again in the list to see how it is now</source>
        <translation>ein anderes Programm hat dieses Konto inzwischen geändert; wählen Sie es in der Liste neu aus, um zu sehen, wie es jetzt ist</translation>
    </message>
</context>
<context>
    <name>Accounts::WaitingBar</name>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <source>Progress of the synchronisation</source>
        <translation>Fortschritt der Synchronisation</translation>
    </message>
    <message>
        <source>%1... %2 s</source>
        <translation>%1... %2 s</translation>
    </message>
</context>
<context>
    <name>FailureText</name>
    <message>
        <source>no answer within %1 s</source>
        <translation>keine Antwort innerhalb von %1 s</translation>
    </message>
    <message>
        <source>%1, most often because of a recipient</source>
        <translation>%1, meist wegen eines Empfängers</translation>
    </message>
    <message>
        <source>the message has been removed or taken back</source>
        <translation>die Nachricht wurde entfernt oder zurückgenommen</translation>
    </message>
    <message>
        <source>the message cannot be prepared: disk full</source>
        <translation>die Nachricht lässt sich nicht vorbereiten: Festplatte voll</translation>
    </message>
    <message>
        <source>the message has been edited</source>
        <translation>die Nachricht wurde bearbeitet</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>cannot read the accounts</source>
        <translation>die Konten lassen sich nicht lesen</translation>
    </message>
    <message>
        <source>the account was removed or disabled</source>
        <translation>das Konto wurde entfernt oder deaktiviert</translation>
    </message>
    <message>
        <source>the message or its part is not here any more</source>
        <translation>die Nachricht oder ihr Teil ist nicht mehr hier</translation>
    </message>
    <message>
        <source>the downloaded message is empty</source>
        <translation>die heruntergeladene Nachricht ist leer</translation>
    </message>
    <message>
        <source>cannot read the downloaded message</source>
        <translation>die heruntergeladene Nachricht lässt sich nicht lesen</translation>
    </message>
    <message>
        <source>the message is built in a way that mail programs do not get over</source>
        <translation>die Nachricht ist so gebaut, dass Mailprogramme nicht mit ihr zurechtkämen</translation>
    </message>
    <message>
        <source>cannot write downloaded content</source>
        <translation>heruntergeladener Inhalt lässt sich nicht schreiben</translation>
    </message>
    <message>
        <source>cannot mark a message that is to be sent</source>
        <translation>eine zu sendende Nachricht lässt sich nicht markieren</translation>
    </message>
    <message>
        <source>cannot mark a message of the outbox</source>
        <translation>eine Nachricht im Postausgang lässt sich nicht markieren</translation>
    </message>
    <message>
        <source>the sending was interrupted</source>
        <translation>das Senden wurde unterbrochen</translation>
    </message>
    <message>
        <source>cannot read a message that is to be sent</source>
        <translation>eine zu sendende Nachricht lässt sich nicht lesen</translation>
    </message>
    <message>
        <source>the message has been removed</source>
        <translation>die Nachricht wurde entfernt</translation>
    </message>
    <message>
        <source>cannot put a message back into the outbox</source>
        <translation>eine Nachricht lässt sich nicht in den Postausgang zurücklegen</translation>
    </message>
    <message>
        <source>cannot take a sent message out of the outbox</source>
        <translation>eine gesendete Nachricht lässt sich nicht aus dem Postausgang nehmen</translation>
    </message>
    <message>
        <source>what became of the mail has changed meanwhile; nothing was done</source>
        <translation>was aus der Mail wurde, hat sich inzwischen geändert; nichts wurde getan</translation>
    </message>
    <message>
        <source>cannot move a message to the drafts</source>
        <translation>eine Nachricht lässt sich nicht zu den Entwürfen legen</translation>
    </message>
    <message>
        <source>it is not known whether the server has sent the message; look among the sent messages, and send it again only if it is not there</source>
        <translation>es ist nicht bekannt, ob der Server die Nachricht gesendet hat; sehen Sie bei den gesendeten nach, und senden Sie sie nur noch einmal, wenn sie nicht dort ist</translation>
    </message>
    <message>
        <source>the message has no recipient</source>
        <translation>die Nachricht hat keinen Empfänger</translation>
    </message>
    <message>
        <source>a recipient has no valid address</source>
        <translation>ein Empfänger hat keine gültige Adresse</translation>
    </message>
    <message>
        <source>an attached message or part is not here</source>
        <translation>eine angehängte Nachricht oder ein Teil ist nicht hier</translation>
    </message>
    <message>
        <source>the account was removed</source>
        <translation>das Konto wurde entfernt</translation>
    </message>
    <message>
        <source>%1 (mail store error %2)</source>
        <translation>%1 (Fehler %2 des Mailspeichers)</translation>
    </message>
    <message>
        <source>disk full: %1</source>
        <translation>Festplatte voll: %1</translation>
    </message>
    <message>
        <source>disk full: no room for %1 bytes</source>
        <translation>Festplatte voll: kein Platz für %1 Bytes</translation>
    </message>
    <message>
        <source>cannot open %1</source>
        <translation>%1 lässt sich nicht öffnen</translation>
    </message>
    <message>
        <source>cannot protect %1</source>
        <translation>%1 lässt sich nicht schützen</translation>
    </message>
    <message>
        <source>sync state: %1</source>
        <translation>Stand der Synchronisation: %1</translation>
    </message>
    <message>
        <source>the message cannot be prepared</source>
        <translation>die Nachricht lässt sich nicht vorbereiten</translation>
    </message>
    <message>
        <source>the server does not get on</source>
        <translation>der Server kommt nicht voran</translation>
    </message>
    <message>
        <source>the folder is gone</source>
        <translation>der Ordner ist weg</translation>
    </message>
    <message>
        <source>There is no room left on this device.</source>
        <translation>Auf diesem Gerät ist kein Platz mehr.</translation>
    </message>
    <message>
        <source>The mail store on this device cannot be read or written.</source>
        <translation>Der Mailspeicher auf diesem Gerät lässt sich nicht lesen oder schreiben.</translation>
    </message>
    <message>
        <source>There is no host named %1.</source>
        <translation>Es gibt keinen Rechner namens %1.</translation>
    </message>
    <message>
        <source>%1 refuses the connection.</source>
        <translation>%1 weist die Verbindung zurück.</translation>
    </message>
    <message>
        <source>%1 has cut the connection.</source>
        <translation>%1 hat die Verbindung abgebrochen.</translation>
    </message>
    <message>
        <source>There is no connection to %1.</source>
        <translation>Es gibt keine Verbindung zu %1.</translation>
    </message>
    <message>
        <source>No ActiveSync server answers at %1%2.</source>
        <translation>Bei %1 antwortet kein ActiveSync-Server%2.</translation>
    </message>
    <message>
        <source>%1 refuses the user name or the password%2.</source>
        <translation>%1 weist den Benutzernamen oder das Passwort zurück%2.</translation>
    </message>
    <message>
        <source>%1 has asked to remove this account&apos;s mail from this device.</source>
        <translation>%1 hat verlangt, die Mails dieses Kontos von diesem Gerät zu entfernen.</translation>
    </message>
    <message>
        <source>%1 forbids it to this device or this user%2.</source>
        <translation>%1 verbietet es diesem Gerät oder diesem Benutzer%2.</translation>
    </message>
    <message>
        <source>%1 could not do what was asked for%2.</source>
        <translation>%1 konnte nicht tun, was verlangt war%2.</translation>
    </message>
    <message>
        <source>What was asked for is not at %1 any more%2.</source>
        <translation>Was verlangt war, ist bei %1 nicht mehr vorhanden%2.</translation>
    </message>
    <message>
        <source>The answer of %1 cannot be understood%2.</source>
        <translation>Die Antwort von %1 ist nicht zu verstehen%2.</translation>
    </message>
    <message>
        <source>%1 has no room for it%2.</source>
        <translation>%1 hat keinen Platz dafür%2.</translation>
    </message>
    <message>
        <source>%1 does not answer in time%2.</source>
        <translation>%1 antwortet nicht rechtzeitig%2.</translation>
    </message>
    <message>
        <source>%1 demands a policy that is not met here%2.</source>
        <translation>%1 verlangt eine Richtlinie, die hier nicht erfüllt ist%2.</translation>
    </message>
    <message>
        <source>%1 failed%2.</source>
        <translation>%1 ist gescheitert%2.</translation>
    </message>
    <message>
        <source>The certificate of %1 is not trusted, or it speaks no TLS.</source>
        <translation>Das Zertifikat von %1 ist nicht vertrauenswürdig, oder der Rechner spricht kein TLS.</translation>
    </message>
    <message>
        <source>The account&apos;s setting &quot;%1&quot; is missing or wrong.</source>
        <translation>Die Einstellung „%1“ des Kontos fehlt oder ist falsch.</translation>
    </message>
    <message>
        <source>another process holds the mail store locked</source>
        <translation>ein anderer Prozess hält den Mailspeicher gesperrt</translation>
    </message>
    <message>
        <source>an answer to something else</source>
        <translation>eine Antwort auf etwas anderes</translation>
    </message>
    <message>
        <source>an answer of more than %1 elements</source>
        <translation>eine Antwort mit mehr als %1 Elementen</translation>
    </message>
    <message>
        <source>an answer of more than %1 bytes</source>
        <translation>eine Antwort von mehr als %1 Bytes</translation>
    </message>
    <message>
        <source>a content of more than %1 bytes</source>
        <translation>ein Inhalt von mehr als %1 Bytes</translation>
    </message>
    <message>
        <source>the session is over</source>
        <translation>die Sitzung ist zu Ende</translation>
    </message>
    <message>
        <source>the server answered without content</source>
        <translation>der Server antwortete ohne Inhalt</translation>
    </message>
    <message>
        <source>the attachment is no base64</source>
        <translation>der Anhang ist kein Base64</translation>
    </message>
    <message>
        <source>cannot write the attachment: %1</source>
        <translation>der Anhang lässt sich nicht schreiben: %1</translation>
    </message>
    <message>
        <source>the attachment is gone</source>
        <translation>der Anhang ist weg</translation>
    </message>
    <message>
        <source>cannot write the message: %1</source>
        <translation>die Nachricht lässt sich nicht schreiben: %1</translation>
    </message>
    <message>
        <source>the message is gone</source>
        <translation>die Nachricht ist weg</translation>
    </message>
    <message>
        <source>the server failed</source>
        <translation>der Server ist gescheitert</translation>
    </message>
    <message>
        <source>the folder tree&apos;s key is not accepted</source>
        <translation>der Schlüssel des Ordnerbaums wird nicht angenommen</translation>
    </message>
    <message>
        <source>the server did not understand the request</source>
        <translation>der Server hat die Anfrage nicht verstanden</translation>
    </message>
    <message>
        <source>more than %1 folders</source>
        <translation>mehr als %1 Ordner</translation>
    </message>
    <message>
        <source>an answer without a synchronisation key</source>
        <translation>eine Antwort ohne Synchronisationsschlüssel</translation>
    </message>
    <message>
        <source>no memory to unpack the answer</source>
        <translation>kein Arbeitsspeicher, um die Antwort zu entpacken</translation>
    </message>
    <message>
        <source>the packed answer is damaged</source>
        <translation>die gepackte Antwort ist beschädigt</translation>
    </message>
    <message>
        <source>the packed answer grows beyond %1 times its size</source>
        <translation>die gepackte Antwort wächst über das %1-Fache ihrer Größe</translation>
    </message>
    <message>
        <source>the server redirects in a circle, or to where the login goes only if the account says so: %1</source>
        <translation>der Server leitet im Kreis weiter oder dorthin, wohin die Anmeldung nur geht, wenn das Konto es sagt: %1</translation>
    </message>
    <message>
        <source>only %1 of the answer&apos;s %2 bytes have come</source>
        <translation>nur %1 von %2 Bytes der Antwort sind gekommen</translation>
    </message>
    <message>
        <source>the packed answer was cut</source>
        <translation>die gepackte Antwort wurde abgeschnitten</translation>
    </message>
    <message>
        <source>no TLS with the server: %1</source>
        <translation>kein TLS mit dem Server: %1</translation>
    </message>
    <message>
        <source>the server&apos;s certificate is not trusted: %1</source>
        <translation>das Zertifikat des Servers ist nicht vertrauenswürdig: %1</translation>
    </message>
    <message>
        <source>there is no host of this name</source>
        <translation>es gibt keinen Rechner dieses Namens</translation>
    </message>
    <message>
        <source>the answer was cut: %1</source>
        <translation>die Antwort wurde abgeschnitten: %1</translation>
    </message>
    <message>
        <source>no answer in time</source>
        <translation>keine Antwort in der vorgesehenen Zeit</translation>
    </message>
    <message>
        <source>the answer stopped in the middle</source>
        <translation>die Antwort brach in der Mitte ab</translation>
    </message>
    <message>
        <source>the server answered HTTP %1</source>
        <translation>der Server antwortete HTTP %1</translation>
    </message>
    <message>
        <source>the item is gone</source>
        <translation>das Element ist weg</translation>
    </message>
    <message>
        <source>access denied</source>
        <translation>Zugriff verweigert</translation>
    </message>
    <message>
        <source>the server does not have that range</source>
        <translation>der Server hat diesen Bereich nicht</translation>
    </message>
    <message>
        <source>the server&apos;s store failed</source>
        <translation>der Speicher des Servers ist gescheitert</translation>
    </message>
    <message>
        <source>too large for the server</source>
        <translation>zu groß für den Server</translation>
    </message>
    <message>
        <source>the server could not convert the item</source>
        <translation>der Server konnte das Element nicht umwandeln</translation>
    </message>
    <message>
        <source>the linked store refuses the login</source>
        <translation>der verknüpfte Speicher weist die Anmeldung zurück</translation>
    </message>
    <message>
        <source>more than %1 attachments</source>
        <translation>mehr als %1 Anhänge</translation>
    </message>
    <message>
        <source>no ActiveSync server answers at this address</source>
        <translation>unter dieser Adresse antwortet kein ActiveSync-Server</translation>
    </message>
    <message>
        <source>the server speaks only the versions %1</source>
        <translation>der Server spricht nur die Versionen %1</translation>
    </message>
    <message>
        <source>the heartbeat is out of the server&apos;s range</source>
        <translation>der Heartbeat liegt nicht im Bereich des Servers</translation>
    </message>
    <message>
        <source>too many folders for the server</source>
        <translation>zu viele Ordner für den Server</translation>
    </message>
    <message>
        <source>the folder tree has changed</source>
        <translation>der Ordnerbaum hat sich geändert</translation>
    </message>
    <message>
        <source>not one of the known ones</source>
        <translation>keiner der bekannten</translation>
    </message>
    <message>
        <source>the server could not provision</source>
        <translation>der Server konnte die Richtlinie nicht vermitteln</translation>
    </message>
    <message>
        <source>the server did not go on provisioning</source>
        <translation>der Server setzte die Vermittlung der Richtlinie nicht fort</translation>
    </message>
    <message>
        <source>a policy without a key</source>
        <translation>eine Richtlinie ohne Schlüssel</translation>
    </message>
    <message>
        <source>what is to be sent ends too early</source>
        <translation>was gesendet werden soll, endet zu früh</translation>
    </message>
    <message>
        <source>the server did not understand the search</source>
        <translation>der Server hat die Suche nicht verstanden</translation>
    </message>
    <message>
        <source>not found</source>
        <translation>nicht gefunden</translation>
    </message>
    <message>
        <source>the search is too complex for the server</source>
        <translation>die Suche ist zu verwickelt für den Server</translation>
    </message>
    <message>
        <source>the search took the server too long</source>
        <translation>die Suche dauerte dem Server zu lange</translation>
    </message>
    <message>
        <source>the store refuses the login</source>
        <translation>der Speicher weist die Anmeldung zurück</translation>
    </message>
    <message>
        <source>more than %1 results</source>
        <translation>mehr als %1 Ergebnisse</translation>
    </message>
    <message>
        <source>the message cannot be read</source>
        <translation>die Nachricht lässt sich nicht lesen</translation>
    </message>
    <message>
        <source>the message is too large for the server: %1 bytes</source>
        <translation>die Nachricht ist zu groß für den Server: %1 Bytes</translation>
    </message>
    <message>
        <source>server: no name is set</source>
        <translation>Server: kein Name ist angegeben</translation>
    </message>
    <message>
        <source>server: &quot;%1&quot; is not the name of a host</source>
        <translation>Server: „%1“ ist nicht der Name eines Rechners</translation>
    </message>
    <message>
        <source>port: %1 is not a port</source>
        <translation>Port: %1 ist kein Port</translation>
    </message>
    <message>
        <source>encryption: %1 is neither 0 (none) nor 1 (TLS)</source>
        <translation>Verschlüsselung: %1 ist weder 0 (keine) noch 1 (TLS)</translation>
    </message>
    <message>
        <source>username: no name is set</source>
        <translation>Benutzername: kein Name ist angegeben</translation>
    </message>
    <message>
        <source>username: a colon cannot be part of it</source>
        <translation>Benutzername: ein Doppelpunkt kann nicht darin vorkommen</translation>
    </message>
    <message>
        <source>the server asks to be left alone</source>
        <translation>der Server bittet um Ruhe</translation>
    </message>
    <message>
        <source>the server&apos;s policy demands what is not met here: %1</source>
        <translation>die Richtlinie des Servers verlangt, was hier nicht erfüllt ist: %1</translation>
    </message>
    <message>
        <source>the server did not take the settings</source>
        <translation>der Server nahm die Einstellungen nicht an</translation>
    </message>
    <message>
        <source>the mailbox is full</source>
        <translation>das Postfach ist voll</translation>
    </message>
    <message>
        <source>the mailbox is offline</source>
        <translation>das Postfach ist nicht am Netz</translation>
    </message>
    <message>
        <source>the quota for sending is used up</source>
        <translation>das Kontingent zum Senden ist aufgebraucht</translation>
    </message>
    <message>
        <source>a recipient cannot be resolved</source>
        <translation>ein Empfänger lässt sich nicht auflösen</translation>
    </message>
    <message>
        <source>the server does not allow replies to this message</source>
        <translation>der Server erlaubt keine Antworten auf diese Nachricht</translation>
    </message>
    <message>
        <source>sent before</source>
        <translation>schon gesendet</translation>
    </message>
    <message>
        <source>the server could not submit the message</source>
        <translation>der Server konnte die Nachricht nicht weitergeben</translation>
    </message>
    <message>
        <source>the reply or forward failed</source>
        <translation>Antwort oder Weiterleitung ist gescheitert</translation>
    </message>
    <message>
        <source>the server did not understand the message</source>
        <translation>der Server hat die Nachricht nicht verstanden</translation>
    </message>
    <message>
        <source>this user or device may not synchronise</source>
        <translation>dieser Benutzer oder dieses Gerät darf nicht synchronisieren</translation>
    </message>
    <message>
        <source>the server has lost its state</source>
        <translation>der Server hat seinen Stand verloren</translation>
    </message>
    <message>
        <source>the server has locked its state</source>
        <translation>der Server hat seinen Stand gesperrt</translation>
    </message>
    <message>
        <source>the server&apos;s state is damaged</source>
        <translation>der Stand des Servers ist beschädigt</translation>
    </message>
    <message>
        <source>the server forbids the operation</source>
        <translation>der Server verbietet den Vorgang</translation>
    </message>
    <message>
        <source>the server&apos;s policy must be met wholly</source>
        <translation>die Richtlinie des Servers muss ganz erfüllt werden</translation>
    </message>
    <message>
        <source>the server asks to remove the account&apos;s data from here</source>
        <translation>der Server verlangt, die Daten des Kontos von hier zu entfernen</translation>
    </message>
    <message>
        <source>the server takes only devices that it can provision</source>
        <translation>der Server nimmt nur Geräte, denen er Richtlinien geben kann</translation>
    </message>
    <message>
        <source>the device must provision first</source>
        <translation>das Gerät muss zuerst die Richtlinie holen</translation>
    </message>
    <message>
        <source>the server&apos;s policy has changed</source>
        <translation>die Richtlinie des Servers hat sich geändert</translation>
    </message>
    <message>
        <source>the policy key is wrong</source>
        <translation>der Schlüssel der Richtlinie ist falsch</translation>
    </message>
    <message>
        <source>the server does not take devices that are managed elsewhere</source>
        <translation>der Server nimmt keine Geräte, die anderswo verwaltet werden</translation>
    </message>
    <message>
        <source>the server wants to know more of the device</source>
        <translation>der Server will mehr über das Gerät wissen</translation>
    </message>
    <message>
        <source>the account id is invalid</source>
        <translation>die Kennung des Kontos ist ungültig</translation>
    </message>
    <message>
        <source>sending is not allowed for this account</source>
        <translation>mit diesem Konto darf nicht gesendet werden</translation>
    </message>
    <message>
        <source>the user has too many devices</source>
        <translation>der Benutzer hat zu viele Geräte</translation>
    </message>
    <message>
        <source>status %1: %2</source>
        <translation>Status %1: %2</translation>
    </message>
    <message>
        <source>the folder&apos;s key is not accepted</source>
        <translation>der Schlüssel des Ordners wird nicht angenommen</translation>
    </message>
    <message>
        <source>the server is busy, later again</source>
        <translation>der Server ist beschäftigt, später wieder</translation>
    </message>
    <message>
        <source>the item could not be converted</source>
        <translation>das Element ließ sich nicht umwandeln</translation>
    </message>
    <message>
        <source>a conflict that the server has won</source>
        <translation>ein Konflikt, den der Server gewonnen hat</translation>
    </message>
    <message>
        <source>the server wants the whole request</source>
        <translation>der Server will die ganze Anfrage</translation>
    </message>
    <message>
        <source>the server&apos;s limits were exceeded</source>
        <translation>die Grenzen des Servers wurden überschritten</translation>
    </message>
    <message>
        <source>more than %1 items</source>
        <translation>mehr als %1 Elemente</translation>
    </message>
    <message>
        <source>an item without a usable id</source>
        <translation>ein Element ohne brauchbare Kennung</translation>
    </message>
    <message>
        <source>a folder without a synchronisation key</source>
        <translation>ein Ordner ohne Synchronisationsschlüssel</translation>
    </message>
    <message>
        <source>not WBXML 1.1 to 1.3</source>
        <translation>nicht WBXML 1.1 bis 1.3</translation>
    </message>
    <message>
        <source>character set %1 is not understood</source>
        <translation>der Zeichensatz %1 wird nicht verstanden</translation>
    </message>
    <message>
        <source>a string table of %1 bytes is too long</source>
        <translation>eine Zeichenkettentabelle von %1 Bytes ist zu lang</translation>
    </message>
    <message>
        <source>an end without a begin</source>
        <translation>ein Ende ohne Anfang</translation>
    </message>
    <message>
        <source>%1 bytes of opaque data are too many</source>
        <translation>%1 Bytes undurchsichtiger Daten sind zu viele</translation>
    </message>
    <message>
        <source>opaque data outside the root element</source>
        <translation>undurchsichtige Daten außerhalb des Wurzelelements</translation>
    </message>
    <message>
        <source>%1 is no character</source>
        <translation>%1 ist kein Zeichen</translation>
    </message>
    <message>
        <source>a string beyond the table</source>
        <translation>eine Zeichenkette jenseits der Tabelle</translation>
    </message>
    <message>
        <source>token 0x%1 is not understood</source>
        <translation>das Token 0x%1 wird nicht verstanden</translation>
    </message>
    <message>
        <source>text outside the root element</source>
        <translation>Text außerhalb des Wurzelelements</translation>
    </message>
    <message>
        <source>nested deeper than %1 elements</source>
        <translation>tiefer verschachtelt als %1 Elemente</translation>
    </message>
    <message>
        <source>a number of more than 32 bits</source>
        <translation>eine Zahl von mehr als 32 Bits</translation>
    </message>
    <message>
        <source>the document ends too early</source>
        <translation>das Dokument endet zu früh</translation>
    </message>
    <message>
        <source>the server did not take the acknowledgement</source>
        <translation>der Server nahm die Bestätigung nicht an</translation>
    </message>
    <message>
        <source>an attachment was changed or removed while the message was leaving</source>
        <translation>ein Anhang wurde geändert oder entfernt, während die Nachricht gesendet wurde</translation>
    </message>
    <message>
        <source>content of the message is lost on this device</source>
        <translation>Inhalt der Nachricht ist auf diesem Gerät verloren gegangen</translation>
    </message>
</context>
<context>
    <name>OrvSettings</name>
    <message>
        <source>This is no port: %1 will be saved.</source>
        <translation>Das ist kein Port: %1 wird gespeichert.</translation>
    </message>
    <message>
        <source>Form</source>
        <translation>Formular</translation>
    </message>
    <message>
        <source>Username</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Encryption</source>
        <translation>Verschlüsselung</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>SSL</source>
        <translation>SSL</translation>
    </message>
    <message>
        <source>Domain</source>
        <translation>Domäne</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>Mailadresse</translation>
    </message>
</context>
<context>
    <name>QAbstractSocket</name>
    <message>
        <source>Socket operation timed out</source>
        <translation>Zeitüberschreitung am Socket</translation>
    </message>
</context>
<context>
    <name>QCommandLineParser</name>
    <message>
        <source>Unknown option &apos;%1&apos;.</source>
        <translation>Unbekannte Option „%1“.</translation>
    </message>
    <message>
        <source>Unknown options: %1.</source>
        <translation>Unbekannte Optionen: %1.</translation>
    </message>
    <message>
        <source>Missing value after &apos;%1&apos;.</source>
        <translation>Nach „%1“ fehlt ein Wert.</translation>
    </message>
    <message>
        <source>Unexpected value after &apos;%1&apos;.</source>
        <translation>Nach „%1“ steht ein unerwarteter Wert.</translation>
    </message>
</context>
<context>
    <name>QHttp</name>
    <message>
        <source>Connection refused</source>
        <translation>Verbindung zurückgewiesen</translation>
    </message>
    <message>
        <source>Connection closed</source>
        <translation>Verbindung geschlossen</translation>
    </message>
    <message>
        <source>Host %1 not found</source>
        <translation>Rechner %1 nicht gefunden</translation>
    </message>
    <message>
        <source>SSL handshake failed</source>
        <translation>SSL-Handshake gescheitert</translation>
    </message>
</context>
<context>
    <name>QNativeSocketEngine</name>
    <message>
        <source>Network unreachable</source>
        <translation>Netz nicht erreichbar</translation>
    </message>
    <message>
        <source>Host unreachable</source>
        <translation>Rechner nicht erreichbar</translation>
    </message>
</context>
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Ja</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Nein</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>Text</name>
    <message>
        <source>the disk may be full, or not writable</source>
        <translation>die Festplatte ist vielleicht voll oder nicht beschreibbar</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>Fehler %1</translation>
    </message>
    <message>
        <source>the mail store in %1 cannot be opened; check that the folder and the files in it are yours and that the disk is not full</source>
        <translation>der Mailspeicher in %1 lässt sich nicht öffnen; prüfen Sie, ob der Ordner und die Dateien darin Ihnen gehören und ob die Festplatte voll ist</translation>
    </message>
    <message>
        <source>there is an account &quot;%1&quot; already; choose another name</source>
        <translation>es gibt schon ein Konto „%1“; wählen Sie einen anderen Namen</translation>
    </message>
    <message>
        <source>the mail store in %1 refuses to add the account (%2)</source>
        <translation>der Mailspeicher in %1 nimmt das Konto nicht auf (%2)</translation>
    </message>
    <message>
        <source>the mail store in %1 refuses to change the account (%2)</source>
        <translation>der Mailspeicher in %1 lässt das Konto nicht ändern (%2)</translation>
    </message>
    <message>
        <source>the mail store in %1 refuses to remove the account (%2)</source>
        <translation>der Mailspeicher in %1 lässt das Konto nicht entfernen (%2)</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was wiped: %2 had its mail and its password removed from here, and it is not enabled; if you are to use it again, &quot;orvmail-account set %3 --ask-password --enabled on&quot; takes the password anew</source>
        <translation>„%1“ wurde gelöscht: %2 hat seine Mails und sein Passwort von hier entfernen lassen, und es ist nicht aktiviert; wenn Sie es wieder benutzen dürfen, nimmt „orvmail-account set %3 --ask-password --enabled on“ das Passwort neu entgegen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not enabled; &quot;orvmail-account set %2 --enabled on&quot; changes it</source>
        <translation>„%1“ ist nicht aktiviert; „orvmail-account set %2 --enabled on“ ändert das</translation>
    </message>
    <message>
        <source>the account has no name; give it one</source>
        <translation>das Konto hat keinen Namen; geben Sie ihm einen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no mail address; it looks like name@example.com</source>
        <translation>„%1“ ist keine Mailadresse; eine sieht so aus: name@example.com</translation>
    </message>
    <message>
        <source>%1; give the name alone, such as mail.example.com</source>
        <translation>%1; geben Sie nur den Namen an, etwa mail.example.com</translation>
    </message>
    <message>
        <source>the mail store cannot keep this password: it knows the letters of Western European languages alone; choose another at the server</source>
        <translation>der Mailspeicher kann dieses Passwort nicht aufbewahren: Er kennt nur die Buchstaben westeuropäischer Sprachen; wählen Sie beim Server ein anderes</translation>
    </message>
    <message>
        <source>%1 is no ActiveSync server</source>
        <translation>%1 ist kein ActiveSync-Server</translation>
    </message>
    <message>
        <source>check server and port</source>
        <translation>prüfen Sie Server und Port</translation>
    </message>
    <message>
        <source>%1 refuses user name or password of &quot;%2&quot;; check both, and the domain</source>
        <translation>%1 weist Benutzernamen oder Passwort von „%2“ zurück; prüfen Sie beides, und die Domäne</translation>
    </message>
    <message>
        <source>%1 forbids this device or this user</source>
        <translation>%1 verbietet es diesem Gerät oder diesem Benutzer</translation>
    </message>
    <message>
        <source>ask its administrator to allow it</source>
        <translation>bitten Sie den Administrator, es zu erlauben</translation>
    </message>
    <message>
        <source>there is no room left, here or at the server</source>
        <translation>es ist kein Platz mehr, hier oder beim Server</translation>
    </message>
    <message>
        <source>make room and try again</source>
        <translation>schaffen Sie Platz und versuchen Sie es wieder</translation>
    </message>
    <message>
        <source>%1 does not answer</source>
        <translation>%1 antwortet nicht</translation>
    </message>
    <message>
        <source>check server, port and network</source>
        <translation>prüfen Sie Server, Port und Netz</translation>
    </message>
    <message>
        <source>no connection to %1</source>
        <translation>keine Verbindung zu %1</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>%1 cannot be used with these settings</source>
        <translation>%1 ist mit diesen Einstellungen nicht zu gebrauchen</translation>
    </message>
    <message>
        <source>check server, port and encryption</source>
        <translation>prüfen Sie Server, Port und Verschlüsselung</translation>
    </message>
    <message>
        <source>%1 demands a policy that is not met here</source>
        <translation>%1 verlangt eine Richtlinie, die hier nicht erfüllt ist</translation>
    </message>
    <message>
        <source>ask its administrator</source>
        <translation>fragen Sie den Administrator</translation>
    </message>
    <message>
        <source>%1 has failed</source>
        <translation>%1 ist gescheitert</translation>
    </message>
    <message>
        <source>try again later</source>
        <translation>versuchen Sie es später wieder</translation>
    </message>
    <message>
        <source>user name or password refused</source>
        <translation>Benutzername oder Passwort zurückgewiesen</translation>
    </message>
    <message>
        <source>no such service (%1)</source>
        <translation>kein solcher Dienst (%1)</translation>
    </message>
    <message>
        <source>there is no host of this name</source>
        <translation>es gibt keinen Rechner dieses Namens</translation>
    </message>
    <message>
        <source>its certificate is not trusted</source>
        <translation>sein Zertifikat ist nicht vertrauenswürdig</translation>
    </message>
    <message>
        <source>no answer in time</source>
        <translation>keine Antwort in der vorgesehenen Zeit</translation>
    </message>
    <message>
        <source>service record of %1</source>
        <translation>Diensteintrag von %1</translation>
    </message>
    <message>
        <source>there is none</source>
        <translation>es gibt keinen</translation>
    </message>
    <message>
        <source>it takes no login by HTTP Basic</source>
        <translation>er nimmt keine Anmeldung mit HTTP Basic an</translation>
    </message>
    <message>
        <source>it redirects in a circle, or to where there is no TLS</source>
        <translation>er leitet im Kreis weiter oder dorthin, wo es kein TLS gibt</translation>
    </message>
    <message>
        <source>it names no ActiveSync server</source>
        <translation>er nennt keinen ActiveSync-Server</translation>
    </message>
    <message>
        <source>its server %1 is not reached by TLS</source>
        <translation>sein Server %1 ist nicht mit TLS zu erreichen</translation>
    </message>
    <message>
        <source>it leads to no other address</source>
        <translation>er führt zu keiner anderen Adresse</translation>
    </message>
    <message>
        <source>%1 was not confirmed</source>
        <translation>%1 wurde nicht bestätigt</translation>
    </message>
    <message>
        <source>the account&apos;s name or number</source>
        <translation>Name oder Nummer des Kontos</translation>
    </message>
    <message>
        <source>set an account up</source>
        <translation>ein Konto einrichten</translation>
    </message>
    <message>
        <source>What the options leave open is asked for on a terminal. Without --server the server is found from the mail address (Autodiscover).</source>
        <translation>Was die Optionen offen lassen, wird auf einem Terminal erfragt. Ohne --server wird der Server anhand der Mailadresse gefunden (Autodiscover).</translation>
    </message>
    <message>
        <source>The account is saved when the login has succeeded. Then its mail is fetched for the first time.</source>
        <translation>Das Konto wird gespeichert, wenn die Anmeldung gelungen ist. Dann werden seine Mails zum ersten Mal geholt.</translation>
    </message>
    <message>
        <source>what the account is called here (default: the mail address)</source>
        <translation>wie das Konto hier heißt (sonst: die Mailadresse)</translation>
    </message>
    <message>
        <source>trust the hosts that the search for the server leads to</source>
        <translation>den Rechnern vertrauen, zu denen die Suche nach dem Server führt</translation>
    </message>
    <message>
        <source>nothing was saved</source>
        <translation>nichts wurde gespeichert</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>Mail address</source>
        <translation>Mailadresse</translation>
    </message>
    <message>
        <source>the mail address is missing; give --email</source>
        <translation>die Mailadresse fehlt; geben Sie --email an</translation>
    </message>
    <message>
        <source>The search leads to %1. Send the login there?</source>
        <translation>Die Suche führt zu %1. Soll die Anmeldung dorthin gehen?</translation>
    </message>
    <message>
        <source>Looking for the server of %1</source>
        <translation>Suche nach dem Server von %1</translation>
    </message>
    <message>
        <source>Looking for the server</source>
        <translation>Suche nach dem Server</translation>
    </message>
    <message>
        <source>Found %1</source>
        <translation>Gefunden: %1</translation>
    </message>
    <message>
        <source>cancelled; nothing was saved</source>
        <translation>abgebrochen; nichts wurde gespeichert</translation>
    </message>
    <message>
        <source>%1; give --server, or --accept-redirects if you trust it</source>
        <translation>%1; geben Sie --server an oder, wenn Sie ihm vertrauen, --accept-redirects</translation>
    </message>
    <message>
        <source>the server of %1 cannot be found (%2)</source>
        <translation>der Server von %1 ist nicht zu finden (%2)</translation>
    </message>
    <message>
        <source>the server of %1 cannot be found (%2); give --server</source>
        <translation>der Server von %1 ist nicht zu finden (%2); geben Sie --server an</translation>
    </message>
    <message>
        <source>Trying the login at %1</source>
        <translation>Anmeldung bei %1 wird versucht</translation>
    </message>
    <message>
        <source>(An empty password changes the user name.)</source>
        <translation>(Ein leeres Passwort ändert den Benutzernamen.)</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Starting the message server</source>
        <translation>Nachrichtenserver wird gestartet</translation>
    </message>
    <message>
        <source>The account &quot;%1&quot; is ready.</source>
        <translation>Das Konto „%1“ ist bereit.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no port; a port is a number from 1 to 65535</source>
        <translation>„%1“ ist kein Port; ein Port ist eine Zahl von 1 bis 65535</translation>
    </message>
    <message>
        <source>--server and --port name two ports, %1 and %2; give one</source>
        <translation>--server und --port nennen zwei Ports, %1 und %2; geben Sie einen an</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no encryption; it is &quot;tls&quot; or &quot;none&quot;</source>
        <translation>„%1“ ist keine Verschlüsselung; sie heißt „tls“ oder „none“</translation>
    </message>
    <message>
        <source>--%1 is &quot;on&quot; or &quot;off&quot;, not &quot;%2&quot;</source>
        <translation>--%1 ist „on“ oder „off“, nicht „%2“</translation>
    </message>
    <message>
        <source>--keep is 1, 3, 7, 14 or 30 days or &quot;all&quot;, not &quot;%1&quot;</source>
        <translation>--keep ist 1, 3, 7, 14 oder 30 Tage oder „all“, nicht „%1“</translation>
    </message>
    <message>
        <source>the mail address</source>
        <translation>die Mailadresse</translation>
    </message>
    <message>
        <source>the name that goes with the address into sent mails</source>
        <translation>der Name, der mit der Adresse in gesendeten Mails steht</translation>
    </message>
    <message>
        <source>the user name at the server</source>
        <translation>der Benutzername beim Server</translation>
    </message>
    <message>
        <source>the user&apos;s domain, where the server asks for one</source>
        <translation>die Domäne des Benutzers, wo der Server eine verlangt</translation>
    </message>
    <message>
        <source>the server&apos;s name or address</source>
        <translation>Name oder Adresse des Servers</translation>
    </message>
    <message>
        <source>the server&apos;s port (443 with TLS, else 80)</source>
        <translation>der Port des Servers (443 mit TLS, sonst 80)</translation>
    </message>
    <message>
        <source>tls (the default) or none</source>
        <translation>tls (wenn nichts angegeben ist) oder none</translation>
    </message>
    <message>
        <source>let the server tell of changes at once: on or off</source>
        <translation>den Server Änderungen sofort melden lassen: on oder off</translation>
    </message>
    <message>
        <source>how many days back mail is kept here: 1, 3, 7, 14, 30 or all</source>
        <translation>wie viele Tage zurück Mails hier behalten werden: 1, 3, 7, 14, 30 oder all</translation>
    </message>
    <message>
        <source>whether the account is used at all: on or off</source>
        <translation>ob das Konto überhaupt benutzt wird: on oder off</translation>
    </message>
    <message>
        <source>read the password from the first line of standard input</source>
        <translation>das Passwort aus der ersten Zeile der Standardeingabe lesen</translation>
    </message>
    <message>
        <source>run this by the shell, and take the first line that it prints for the password</source>
        <translation>dies von der Shell ausführen lassen und die erste ausgegebene Zeile als Passwort nehmen</translation>
    </message>
    <message>
        <source>save without trying the login</source>
        <translation>speichern, ohne die Anmeldung zu versuchen</translation>
    </message>
    <message>
        <source>there is no account &quot;%1&quot;; &quot;orvmail-account list&quot; shows all</source>
        <translation>es gibt kein Konto „%1“; „orvmail-account list“ zeigt alle</translation>
    </message>
    <message>
        <source>wait so long for a server (20 seconds)</source>
        <translation>so lange auf einen Server warten (20 Sekunden)</translation>
    </message>
    <message>
        <source>--timeout is a number of seconds, not &quot;%1&quot;</source>
        <translation>--timeout ist eine Anzahl von Sekunden, nicht „%1“</translation>
    </message>
    <message>
        <source>Waiting for %1</source>
        <translation>Warten auf %1</translation>
    </message>
    <message>
        <source>--password-stdin and --password-command name two passwords; give one</source>
        <translation>--password-stdin und --password-command nennen zwei Passwörter; geben Sie eines an</translation>
    </message>
    <message>
        <source>there is no terminal to ask for the password; give --password-stdin and write it to standard input, or --password-command</source>
        <translation>es gibt kein Terminal, um nach dem Passwort zu fragen; geben Sie --password-stdin an und schreiben Sie es in die Standardeingabe, oder --password-command</translation>
    </message>
    <message>
        <source>no password came from standard input</source>
        <translation>aus der Standardeingabe kam kein Passwort</translation>
    </message>
    <message>
        <source>show the folders of an account</source>
        <translation>die Ordner eines Kontos zeigen</translation>
    </message>
    <message>
        <source>Each with how many messages are in it and how many of them are unread, as they are on this machine.</source>
        <translation>Jeder mit der Zahl der Nachrichten darin und der ungelesenen, wie sie auf diesem Rechner sind.</translation>
    </message>
    <message>
        <source>There is no folder yet; &quot;orvmail-account sync&quot; brings them.</source>
        <translation>Es gibt noch keinen Ordner; „orvmail-account sync“ holt sie.</translation>
    </message>
    <message>
        <source>show all accounts</source>
        <translation>alle Konten zeigen</translation>
    </message>
    <message>
        <source>%1  %2  &lt;%3&gt;  at %4</source>
        <translation>%1  %2  &lt;%3&gt;  bei %4</translation>
    </message>
    <message>
        <source>%1  %2  &lt;%3&gt;  at %4  (not enabled)</source>
        <translation>%1  %2  &lt;%3&gt;  bei %4  (nicht aktiviert)</translation>
    </message>
    <message>
        <source>There is no account; &quot;orvmail-account add&quot; sets one up.</source>
        <translation>Es gibt kein Konto; „orvmail-account add“ richtet eines ein.</translation>
    </message>
    <message>
        <source>mail %1 is being sent just now; nothing was done</source>
        <translation>Mail %1 wird gerade gesendet; nichts wurde getan</translation>
    </message>
    <message>
        <source>no mail of the number &quot;%1&quot; waits to be sent; &quot;orvmail-account outbox&quot; shows all</source>
        <translation>keine Mail mit der Nummer „%1“ wartet auf das Senden; „orvmail-account outbox“ zeigt alle</translation>
    </message>
    <message>
        <source>%1; --yes sends it again</source>
        <translation>%1; --yes sendet sie noch einmal</translation>
    </message>
    <message>
        <source>%1. Send it again?</source>
        <translation>%1. Noch einmal senden?</translation>
    </message>
    <message>
        <source>nothing was sent</source>
        <translation>nichts wurde gesendet</translation>
    </message>
    <message>
        <source>show what waits to be sent; send it again, or not at all</source>
        <translation>zeigen, was auf das Senden wartet; es noch einmal senden oder gar nicht</translation>
    </message>
    <message>
        <source>MESSAGE is a number that the list shows. A mail that may have been sent is looked for at the server before it goes again; where that cannot be found out, you are asked.</source>
        <translation>MESSAGE ist eine Nummer, die die Liste zeigt. Nach einer Mail, die vielleicht gesendet wurde, wird beim Server gesucht, bevor sie noch einmal geht; wo sich das nicht herausfinden lässt, werden Sie gefragt.</translation>
    </message>
    <message>
        <source>show this account&apos;s mail; without it, that of all</source>
        <translation>die Mails dieses Kontos zeigen; ohne Angabe die aller</translation>
    </message>
    <message>
        <source>have the mail sent now</source>
        <translation>die Mail jetzt senden lassen</translation>
    </message>
    <message>
        <source>do not send it, put it back among the drafts</source>
        <translation>sie nicht senden, sondern zu den Entwürfen zurücklegen</translation>
    </message>
    <message>
        <source>send again what may have been sent, without asking</source>
        <translation>ohne zu fragen noch einmal senden, was vielleicht gesendet wurde</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is nothing to do with a mail; see --help</source>
        <translation>„%1“ ist nichts, was sich mit einer Mail tun lässt; siehe --help</translation>
    </message>
    <message>
        <source>%1: nothing waits to be sent.</source>
        <translation>%1: Nichts wartet auf das Senden.</translation>
    </message>
    <message>
        <source>%1: %2 to send</source>
        <translation>%1: %2 zu senden</translation>
    </message>
    <message>
        <source>Sending</source>
        <translation>Senden</translation>
    </message>
    <message>
        <source>Mail %1 is sent.</source>
        <translation>Mail %1 ist gesendet.</translation>
    </message>
    <message>
        <source>Asking the message server</source>
        <translation>Der Nachrichtenserver wird gefragt</translation>
    </message>
    <message>
        <source>Mail %1 is among the drafts.</source>
        <translation>Mail %1 ist bei den Entwürfen.</translation>
    </message>
    <message>
        <source>It may have been sent: look in Sent before you send it from there. If you do not change it, it is looked for at the server first.</source>
        <translation>Sie wurde vielleicht gesendet: Sehen Sie unter „Gesendet“ nach, bevor Sie sie von dort senden. Wenn Sie sie nicht ändern, wird zuerst beim Server nach ihr gesucht.</translation>
    </message>
    <message>
        <source>remove an account with its mail</source>
        <translation>ein Konto mit seinen Mails entfernen</translation>
    </message>
    <message>
        <source>What is at the server stays there.</source>
        <translation>Was beim Server liegt, bleibt dort.</translation>
    </message>
    <message>
        <source>do not ask</source>
        <translation>nicht fragen</translation>
    </message>
    <message>
        <source>there is no terminal to ask; give --yes to remove the account</source>
        <translation>es gibt kein Terminal, um zu fragen; geben Sie --yes an, um das Konto zu entfernen</translation>
    </message>
    <message>
        <source>Remove &quot;%1&quot; with all its mail from this machine?</source>
        <translation>„%1“ mit allen Mails von diesem Rechner entfernen?</translation>
    </message>
    <message>
        <source>nothing was removed</source>
        <translation>nichts wurde entfernt</translation>
    </message>
    <message>
        <source>Removed.</source>
        <translation>Entfernt.</translation>
    </message>
    <message>
        <source>change the settings of an account</source>
        <translation>die Einstellungen eines Kontos ändern</translation>
    </message>
    <message>
        <source>What is not named stays as it is. What the login depends on is tried at the server before it is saved.</source>
        <translation>Was nicht genannt wird, bleibt, wie es ist. Wovon die Anmeldung abhängt, wird beim Server versucht, bevor es gespeichert wird.</translation>
    </message>
    <message>
        <source>a new name for the account</source>
        <translation>ein neuer Name für das Konto</translation>
    </message>
    <message>
        <source>ask for a new password</source>
        <translation>nach einem neuen Passwort fragen</translation>
    </message>
    <message>
        <source>make a folder a favourite (may be repeated)</source>
        <translation>einen Ordner zum Favoriten machen (auch mehrmals)</translation>
    </message>
    <message>
        <source>the contrary (may be repeated)</source>
        <translation>das Gegenteil (auch mehrmals)</translation>
    </message>
    <message>
        <source>nothing to set; see --help</source>
        <translation>nichts zu ändern; siehe --help</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>Gespeichert.</translation>
    </message>
    <message>
        <source>there is no folder &quot;%1&quot;; &quot;orvmail-account folders %2&quot; shows all</source>
        <translation>es gibt keinen Ordner „%1“; „orvmail-account folders %2“ zeigt alle</translation>
    </message>
    <message>
        <source>the mail store refuses to change a folder</source>
        <translation>der Mailspeicher lässt einen Ordner nicht ändern</translation>
    </message>
    <message>
        <source>show the settings of an account</source>
        <translation>die Einstellungen eines Kontos zeigen</translation>
    </message>
    <message>
        <source>The password is never among them.</source>
        <translation>Das Passwort ist nie dabei.</translation>
    </message>
    <message>
        <source>tell whether mail comes and goes, and why not</source>
        <translation>sagen, ob Mails kommen und gehen, und warum nicht</translation>
    </message>
    <message>
        <source>Starts nothing. Where no daemon runs, what is known from before is told: how the last synchronisation ended, whether the password was refused, and what waits to be sent.</source>
        <translation>Startet nichts. Wo kein Daemon läuft, wird gesagt, was von vorher bekannt ist: wie die letzte Synchronisation ausging, ob das Passwort zurückgewiesen wurde und was auf das Senden wartet.</translation>
    </message>
    <message>
        <source>the account&apos;s name or number; without it, all are told of</source>
        <translation>Name oder Nummer des Kontos; ohne Angabe ist von allen die Rede</translation>
    </message>
    <message>
        <source>tell it again whenever it changes, until an interrupt</source>
        <translation>es bei jeder Änderung neu sagen, bis zu einer Unterbrechung</translation>
    </message>
    <message>
        <source>Exit status</source>
        <translation>Rückgabewert</translation>
    </message>
    <message>
        <source>all is well</source>
        <translation>alles ist gut</translation>
    </message>
    <message>
        <source>an account needs you</source>
        <translation>ein Konto braucht Sie</translation>
    </message>
    <message>
        <source>the message server or the daemon does not run, or the message server has not loaded the plugin</source>
        <translation>Nachrichtenserver oder Daemon läuft nicht, oder der Nachrichtenserver hat das Plugin nicht geladen</translation>
    </message>
    <message>
        <source>synchronise an account, or all</source>
        <translation>ein Konto oder alle synchronisieren</translation>
    </message>
    <message>
        <source>The message server does it, which the session bus starts if need be. What has changed is told, folder by folder. An interrupt cancels it. Where several accounts are synchronised and one fails, the others are all the same, and the exit status is 1.</source>
        <translation>Das tut der Nachrichtenserver, den der Sitzungsbus startet, wenn nötig. Was sich geändert hat, wird Ordner für Ordner gesagt. Eine Unterbrechung bricht es ab. Wo mehrere Konten synchronisiert werden und eines scheitert, werden es die anderen trotzdem, und der Rückgabewert ist 1.</translation>
    </message>
    <message>
        <source>the account&apos;s name or number; without it, all that are enabled</source>
        <translation>Name oder Nummer des Kontos; ohne Angabe alle aktivierten</translation>
    </message>
    <message>
        <source>print nothing but what fails, as cron wants it</source>
        <translation>nichts ausgeben als das, was scheitert, wie cron es braucht</translation>
    </message>
    <message>
        <source>There is no enabled account; nothing was synchronised.</source>
        <translation>Es gibt kein aktiviertes Konto; nichts wurde synchronisiert.</translation>
    </message>
    <message>
        <source>try the login at the server</source>
        <translation>die Anmeldung beim Server versuchen</translation>
    </message>
    <message>
        <source>Nothing changes, here or there. Where the login works, what is missing on this machine is told, and why the last work for the account failed.</source>
        <translation>Nichts ändert sich, hier nicht und dort nicht. Wo die Anmeldung gelingt, wird gesagt, was auf diesem Rechner fehlt und warum die letzte Arbeit für das Konto scheiterte.</translation>
    </message>
    <message>
        <source>%1 accepts the login and speaks ActiveSync %2.</source>
        <translation>%1 nimmt die Anmeldung an und spricht ActiveSync %2.</translation>
    </message>
    <message>
        <source>But no mail can come: %1.</source>
        <translation>Aber es können keine Mails kommen: %1.</translation>
    </message>
    <message>
        <source>But what was last done for it failed: %1.</source>
        <translation>Aber was zuletzt dafür getan wurde, ist gescheitert: %1.</translation>
    </message>
    <message>
        <source>%1... %2 s (Ctrl-C cancels)</source>
        <translation>%1... %2 s (Strg-C bricht ab)</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>%1 (yes/no)</source>
        <translation>%1 (ja/nein)</translation>
    </message>
    <message>
        <source>no</source>
        <translation>nein</translation>
    </message>
    <message>
        <source>%1; check its recipients</source>
        <translation>%1; prüfen Sie die Empfänger</translation>
    </message>
    <message>
        <source>Mail %1 is being sent</source>
        <translation>Mail %1 wird gesendet</translation>
    </message>
    <message>
        <source>Mail %1 was not sent: %2; it is tried again</source>
        <translation>Mail %1 wurde nicht gesendet: %2; es wird wieder versucht</translation>
    </message>
    <message>
        <source>Mail %1 was not sent, and is not tried again by itself: %2</source>
        <translation>Mail %1 wurde nicht gesendet, und es wird nicht von selbst wieder versucht: %2</translation>
    </message>
    <message>
        <source>no reason is known</source>
        <translation>kein Grund ist bekannt</translation>
    </message>
    <message>
        <source>Mail %1 may have been sent; the server is asked before it goes again</source>
        <translation>Mail %1 wurde vielleicht gesendet; der Server wird gefragt, bevor sie noch einmal geht</translation>
    </message>
    <message>
        <source>Mail %1 may have been sent: look in Sent before you send it again</source>
        <translation>Mail %1 wurde vielleicht gesendet: Sehen Sie unter „Gesendet“ nach, bevor Sie sie noch einmal senden</translation>
    </message>
    <message>
        <source>Mail %1 goes with the next synchronisation</source>
        <translation>Mail %1 geht mit der nächsten Synchronisation</translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation>(kein Betreff)</translation>
    </message>
    <message>
        <source>%1  &quot;%2&quot;  to %3</source>
        <translation>%1  „%2“  an %3</translation>
    </message>
    <message>
        <source>nobody</source>
        <translation>niemanden</translation>
    </message>
    <message>
        <source>the password command could not be started; nothing was changed</source>
        <translation>der Passwortbefehl konnte nicht gestartet werden; nichts wurde geändert</translation>
    </message>
    <message>
        <source>the password command was ended by a signal; nothing was changed</source>
        <translation>der Passwortbefehl wurde durch ein Signal beendet; nichts wurde geändert</translation>
    </message>
    <message>
        <source>the password command failed with exit status %1; nothing was changed</source>
        <translation>der Passwortbefehl scheiterte mit dem Rückgabewert %1; nichts wurde geändert</translation>
    </message>
    <message>
        <source>the password command printed no password; nothing was changed</source>
        <translation>der Passwortbefehl gab kein Passwort aus; nichts wurde geändert</translation>
    </message>
    <message>
        <source>the window is not installed (%1); it is in the package orvmail-window</source>
        <translation>das Fenster ist nicht installiert (%1); es ist im Paket orvmail-window</translation>
    </message>
    <message>
        <source>no command; see orvmail-account --help</source>
        <translation>kein Befehl; siehe orvmail-account --help</translation>
    </message>
    <message>
        <source>no such command: %1; see orvmail-account --help</source>
        <translation>kein solcher Befehl: %1; siehe orvmail-account --help</translation>
    </message>
    <message>
        <source>tell about a command</source>
        <translation>von einem Befehl erzählen</translation>
    </message>
    <message>
        <source>this one; without it, all are listed</source>
        <translation>dieser; ohne Angabe werden alle aufgezählt</translation>
    </message>
    <message>
        <source>which account? see --help</source>
        <translation>welches Konto? siehe --help</translation>
    </message>
    <message>
        <source>too many arguments; see --help</source>
        <translation>zu viele Argumente; siehe --help</translation>
    </message>
    <message>
        <source>set up and look after ActiveSync mail accounts</source>
        <translation>ActiveSync-Mailkonten einrichten und betreuen</translation>
    </message>
    <message>
        <source>Sets up and looks after ActiveSync mail accounts for the mail programs that use the Qt Messaging Framework (QMF).</source>
        <translation>Richtet ActiveSync-Mailkonten für die Mailprogramme ein, die das Qt Messaging Framework (QMF) benutzen, und betreut sie.</translation>
    </message>
    <message>
        <source>An account is named by its name or its number, which &quot;list&quot; shows. With --window, accounts are shown and set up in a window.</source>
        <translation>Ein Konto wird mit seinem Namen oder seiner Nummer benannt, die „list“ zeigt. Mit --window werden Konten in einem Fenster gezeigt und eingerichtet.</translation>
    </message>
    <message>
        <source>print JSON, for a program to read</source>
        <translation>JSON ausgeben, für ein Programm</translation>
    </message>
    <message>
        <source>show the libraries&apos; messages</source>
        <translation>die Meldungen der Bibliotheken zeigen</translation>
    </message>
    <message>
        <source>show this text</source>
        <translation>diesen Text zeigen</translation>
    </message>
    <message>
        <source>done</source>
        <translation>getan</translation>
    </message>
    <message>
        <source>refused or failed; one line on standard error tells why and what to do</source>
        <translation>abgelehnt oder gescheitert; eine Zeile auf der Standardfehlerausgabe sagt, warum und was zu tun ist</translation>
    </message>
    <message>
        <source>wrong usage</source>
        <translation>falscher Gebrauch</translation>
    </message>
    <message>
        <source>Examples</source>
        <translation>Beispiele</translation>
    </message>
    <message>
        <source>ask for what is needed, find the server, and set the account up</source>
        <translation>fragen, was nötig ist, den Server finden und das Konto einrichten</translation>
    </message>
    <message>
        <source>have new mail come at once, and keep all of it here</source>
        <translation>neue Mails sofort kommen lassen und alle hier behalten</translation>
    </message>
    <message>
        <source>take a new password from a password manager</source>
        <translation>ein neues Passwort aus einem Passwortverwalter nehmen</translation>
    </message>
    <message>
        <source>in a crontab: fetch the mail of all accounts while you are logged in (always, after &quot;loginctl enable-linger&quot;); cron sends a mail about what fails</source>
        <translation>in einer Crontab: die Mails aller Konten holen, solange Sie angemeldet sind (nach „loginctl enable-linger“ immer); cron sendet eine Mail darüber, was scheitert</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>the mail store, with accounts and passwords; whoever can read it can read both</source>
        <translation>der Mailspeicher mit Konten und Passwörtern; wer ihn lesen kann, kann beides lesen</translation>
    </message>
    <message>
        <source>how far the accounts are synchronised</source>
        <translation>wie weit die Konten synchronisiert sind</translation>
    </message>
    <message>
        <source>Environment</source>
        <translation>Umgebung</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder, instead of ~/.local/share/qmf</source>
        <translation>der Ordner des Mailspeichers, statt ~/.local/share/qmf</translation>
    </message>
    <message>
        <source>the session bus, on which message server and daemon are found and started</source>
        <translation>der Sitzungsbus, an dem Nachrichtenserver und Daemon gefunden und gestartet werden</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>on</source>
        <translation>ein</translation>
    </message>
    <message>
        <source>off</source>
        <translation>aus</translation>
    </message>
    <message>
        <source>all</source>
        <translation>alle</translation>
    </message>
    <message>
        <source>1 day</source>
        <translation>1 Tag</translation>
    </message>
    <message numerus="yes">
        <source>%n days</source>
        <translation>
            <numerusform>%n Tag</numerusform>
            <numerusform>%n Tage</numerusform>
        </translation>
    </message>
    <message>
        <source>No message has come.</source>
        <translation>Keine Nachricht ist gekommen.</translation>
    </message>
    <message>
        <source>1 message has come.</source>
        <translation>1 Nachricht ist gekommen.</translation>
    </message>
    <message numerus="yes">
        <source>%Ln messages have come.</source>
        <translation>
            <numerusform>%Ln Nachricht ist gekommen.</numerusform>
            <numerusform>%Ln Nachrichten sind gekommen.</numerusform>
        </translation>
    </message>
    <message>
        <source>The account is saved, but its mail does not come yet: %1. Afterwards &quot;orvmail-account sync %2&quot; brings it.</source>
        <translation>Das Konto ist gespeichert, aber seine Mails kommen noch nicht: %1. Danach holt „orvmail-account sync %2“ sie.</translation>
    </message>
    <message>
        <source>name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>number</source>
        <translation>Nummer</translation>
    </message>
    <message>
        <source>email</source>
        <translation>Mailadresse</translation>
    </message>
    <message>
        <source>full name</source>
        <translation>voller Name</translation>
    </message>
    <message>
        <source>user</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <source>domain</source>
        <translation>Domäne</translation>
    </message>
    <message>
        <source>password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>(none)</source>
        <translation>(keines)</translation>
    </message>
    <message>
        <source>(kept, not shown)</source>
        <translation>(aufbewahrt, nicht gezeigt)</translation>
    </message>
    <message>
        <source>server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>encryption</source>
        <translation>Verschlüsselung</translation>
    </message>
    <message>
        <source>enabled</source>
        <translation>aktiviert</translation>
    </message>
    <message>
        <source>push</source>
        <translation>Push</translation>
    </message>
    <message>
        <source>keep</source>
        <translation>behalten</translation>
    </message>
    <message numerus="yes">
        <source>%1 messages, %2 unread, favourite</source>
        <translation>
            <numerusform>%1 Nachricht, %2 ungelesen, Favorit</numerusform>
            <numerusform>%1 Nachrichten, %2 ungelesen, Favorit</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 messages, %2 unread</source>
        <translation>
            <numerusform>%1 Nachricht, %2 ungelesen</numerusform>
            <numerusform>%1 Nachrichten, %2 ungelesen</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing has changed.</source>
        <translation>Nichts hat sich geändert.</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln neu</numerusform>
            <numerusform>%Ln neu</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln changed</source>
        <translation>
            <numerusform>%Ln geändert</numerusform>
            <numerusform>%Ln geändert</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln gone</source>
        <translation>
            <numerusform>%Ln weg</numerusform>
            <numerusform>%Ln weg</numerusform>
        </translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 cannot be made; check that what lies above it is writable</source>
        <translation>der Ordner des Mailspeichers %1 kann nicht angelegt werden; prüfen Sie, ob darüber geschrieben werden kann</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 belongs to somebody else; set QMF_DATA to a folder of yours</source>
        <translation>der Ordner des Mailspeichers %1 gehört jemand anderem; setzen Sie QMF_DATA auf einen Ordner von Ihnen</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 cannot be closed to others</source>
        <translation>der Ordner des Mailspeichers %1 lässt sich vor anderen nicht verschließen</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 cannot be opened; it is not writable</source>
        <translation>der Ordner des Mailspeichers %1 lässt sich nicht öffnen; er ist nicht beschreibbar</translation>
    </message>
    <message>
        <source>there is no display to open a window on; start it in a graphical session, or see orvmail-account --help</source>
        <translation>es gibt keine Anzeige für ein Fenster; starten Sie es in einer grafischen Sitzung, oder siehe orvmail-account --help</translation>
    </message>
    <message>
        <source>the plugin&apos;s settings form is missing; install orvmail completely</source>
        <translation>das Einstellungsformular des Plugins fehlt; installieren Sie orvmail vollständig</translation>
    </message>
    <message>
        <source>set up ActiveSync mail accounts in a window</source>
        <translation>ActiveSync-Mailkonten in einem Fenster einrichten</translation>
    </message>
    <message>
        <source>Shows the ActiveSync mail accounts of the Qt Messaging Framework (QMF) in a window, in which they are added, changed and removed. &quot;orvmail-account --window&quot; starts it, too.</source>
        <translation>Zeigt die ActiveSync-Mailkonten des Qt Messaging Framework (QMF) in einem Fenster, in dem sie hinzugefügt, geändert und entfernt werden. Auch „orvmail-account --window“ startet es.</translation>
    </message>
    <message>
        <source>tell the version</source>
        <translation>die Version nennen</translation>
    </message>
    <message>
        <source>the window was closed</source>
        <translation>das Fenster wurde geschlossen</translation>
    </message>
    <message>
        <source>there is no display to open it on</source>
        <translation>es gibt keine Anzeige, um es zu öffnen</translation>
    </message>
    <message>
        <source>Log categories</source>
        <translation>Kategorien des Protokolls</translation>
    </message>
    <message>
        <source>start and end, accounts and their settings</source>
        <translation>Anfang und Ende, Konten und ihre Einstellungen</translation>
    </message>
    <message>
        <source>each call and its end</source>
        <translation>jeder Aufruf und sein Ende</translation>
    </message>
    <message>
        <source>the conversation with the servers, without its contents</source>
        <translation>das Gespräch mit den Servern, ohne seine Inhalte</translation>
    </message>
    <message>
        <source>what a synchronisation does</source>
        <translation>was eine Synchronisation tut</translation>
    </message>
    <message>
        <source>what the mail store and Qt say; may quote people&apos;s mail, not in &quot;all&quot;</source>
        <translation>was Mailspeicher und Qt sagen; kann aus Mails zitieren, nicht in „all“</translation>
    </message>
    <message>
        <source>leave changes made here alone for so long, as a mail program may take them back (default %1), unless somebody asks for a synchronisation</source>
        <translation>Änderungen von hier so lange liegen lassen, denn ein Mailprogramm kann sie zurücknehmen (sonst %1), außer wenn jemand eine Synchronisation verlangt</translation>
    </message>
    <message>
        <source>log everything of these categories, or of &quot;all&quot;</source>
        <translation>alles aus diesen Kategorien protokollieren, oder aus „all“</translation>
    </message>
    <message>
        <source>give a server up that keeps silent for so long (default 120)</source>
        <translation>einen Server aufgeben, der so lange schweigt (sonst 120)</translation>
    </message>
    <message>
        <source>ended by a signal or with the session</source>
        <translation>durch ein Signal oder mit der Sitzung beendet</translation>
    </message>
    <message>
        <source>could not start: no session bus or mail store, or another one runs</source>
        <translation>konnte nicht starten: kein Sitzungsbus oder Mailspeicher, oder ein anderer läuft</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder; asdaemon.db in it is the daemon&apos;s own memory</source>
        <translation>der Ordner des Mailspeichers; asdaemon.db darin ist das Gedächtnis des Daemons</translation>
    </message>
    <message>
        <source>what other programs of the user find it by: sockets, synchronisation state, open requests</source>
        <translation>woran andere Programme des Benutzers ihn finden: Sockets, Stand der Synchronisation, offene Anfragen</translation>
    </message>
    <message>
        <source>the session bus, which it serves and with which it ends</source>
        <translation>der Sitzungsbus, den er bedient und mit dem er endet</translation>
    </message>
    <message>
        <source>the user&apos;s runtime folder; without it, a folder in /tmp is used</source>
        <translation>der Laufzeitordner des Benutzers; ohne ihn wird ein Ordner in /tmp benutzt</translation>
    </message>
    <message>
        <source>bring the mail of ActiveSync accounts</source>
        <translation>die Mails von ActiveSync-Konten bringen</translation>
    </message>
    <message>
        <source>Brings the mail of ActiveSync accounts into the mail store of the Qt Messaging Framework (QMF), carries what is changed there to the servers, sends mail, and waits for news where an account&apos;s push is on.</source>
        <translation>Bringt die Mails von ActiveSync-Konten in den Mailspeicher des Qt Messaging Framework (QMF), trägt zu den Servern, was dort geändert wird, sendet Mails und wartet auf Neues, wo bei einem Konto Push an ist.</translation>
    </message>
    <message>
        <source>It runs once in each session. The session bus starts it when a mail program&apos;s message server needs it; where its systemd unit is enabled for the user, it is there from login on. Accounts are set up with orvmail-account.</source>
        <translation>Er läuft einmal in jeder Sitzung. Der Sitzungsbus startet ihn, wenn der Nachrichtenserver eines Mailprogramms ihn braucht; wo seine systemd-Unit für den Benutzer aktiviert ist, ist er von der Anmeldung an da. Konten werden mit orvmail-account eingerichtet.</translation>
    </message>
    <message>
        <source>It logs to standard error, which is the journal where systemd has started it: journalctl --user -u asdaemon.</source>
        <translation>Er protokolliert auf die Standardfehlerausgabe, und das ist das Journal, wo systemd ihn gestartet hat: journalctl --user -u asdaemon.</translation>
    </message>
    <message>
        <source>unexpected: %1</source>
        <translation>unerwartet: %1</translation>
    </message>
    <message>
        <source>not 1 to 3600 seconds: %1</source>
        <translation>nicht 1 bis 3600 Sekunden: %1</translation>
    </message>
    <message>
        <source>not 1 to 3600000 milliseconds: %1</source>
        <translation>nicht 1 bis 3600000 Millisekunden: %1</translation>
    </message>
    <message>
        <source>no such category: %1</source>
        <translation>keine solche Kategorie: %1</translation>
    </message>
    <message>
        <source>Usage: </source>
        <translation>Aufruf: </translation>
    </message>
    <message>
        <source>Commands (help COMMAND tells more)</source>
        <translation>Befehle (help COMMAND sagt mehr)</translation>
    </message>
    <message>
        <source>Options of every command</source>
        <translation>Optionen jedes Befehls</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Optionen</translation>
    </message>
    <message>
        <source>Arguments</source>
        <translation>Argumente</translation>
    </message>
    <message>
        <source>tell on the desktop when the account needs you: on (the default) or off</source>
        <translation>auf dem Desktop sagen, wenn das Konto Sie braucht: on (wenn nichts angegeben ist) oder off</translation>
    </message>
    <message>
        <source>notifications</source>
        <translation>Benachrichtigungen</translation>
    </message>
    <message>
        <source>%1: the password is refused</source>
        <translation>%1: Das Passwort wird zurückgewiesen</translation>
    </message>
    <message>
        <source>%1: the server&apos;s policy is not met</source>
        <translation>%1: Die Richtlinie des Servers ist nicht erfüllt</translation>
    </message>
    <message>
        <source>%1: a mail could not be sent</source>
        <translation>%1: Eine Mail konnte nicht gesendet werden</translation>
    </message>
    <message numerus="yes">
        <source>%1: %Ln mails could not be sent</source>
        <translation>
            <numerusform>%1: %Ln Mail konnte nicht gesendet werden</numerusform>
            <numerusform>%1: %Ln Mails konnten nicht gesendet werden</numerusform>
        </translation>
    </message>
    <message>
        <source>The mail server refuses the user name or the password. No mail comes or goes until you enter the right one in the account&apos;s settings (&quot;orvmail-account --window&quot; or &quot;orvmail-account set %1 --ask-password&quot;).</source>
        <translation>Der Mailserver weist den Benutzernamen oder das Passwort zurück. Keine Mail kommt oder geht, bis Sie das richtige in den Einstellungen des Kontos eingeben („orvmail-account --window“ oder „orvmail-account set %1 --ask-password“).</translation>
    </message>
    <message>
        <source>The mail server demands a policy that is not met on this device, and lets no mail through. Ask its administrator.</source>
        <translation>Der Mailserver verlangt eine Richtlinie, die auf diesem Gerät nicht erfüllt ist, und lässt keine Mail durch. Fragen Sie den Administrator.</translation>
    </message>
    <message>
        <source>It waits in the outbox. &quot;orvmail-account outbox&quot; tells why, and has it sent again or puts it back among the drafts.</source>
        <translation>Sie wartet im Postausgang. „orvmail-account outbox“ sagt, warum, und lässt sie noch einmal senden oder legt sie zu den Entwürfen zurück.</translation>
    </message>
    <message>
        <source>write a file for a bug report, after showing it</source>
        <translation>eine Datei für eine Fehlermeldung schreiben, nachdem sie gezeigt wurde</translation>
    </message>
    <message>
        <source>The file tells versions, how the parts are found, how they and the accounts fare, how many messages there are, and what the daemon has logged. Mail addresses, servers, users and names are replaced; passwords, subjects and contents of mails are not in it.</source>
        <translation>In der Datei stehen Versionen, wie die Teile gefunden werden, wie es ihnen und den Konten geht, wie viele Nachrichten da sind und was der Daemon protokolliert hat. Mailadressen, Server, Benutzer und Namen sind ersetzt; Passwörter, Betreffe und Inhalte von Mails stehen nicht darin.</translation>
    </message>
    <message>
        <source>It is shown first, and written when you agree; in a pipe, nobody is asked.</source>
        <translation>Sie wird zuerst gezeigt und geschrieben, wenn Sie zustimmen; in einer Pipe wird niemand gefragt.</translation>
    </message>
    <message>
        <source>write it there, instead of orvmail-report.txt here; -: only show it</source>
        <translation>dorthin schreiben statt hier in orvmail-report.txt; -: nur zeigen</translation>
    </message>
    <message>
        <source>write it also where there is such a file already</source>
        <translation>auch schreiben, wo es eine solche Datei schon gibt</translation>
    </message>
    <message>
        <source>write it without asking</source>
        <translation>ohne Rückfrage schreiben</translation>
    </message>
    <message>
        <source>The report is in %1. Look through it before you give it away.</source>
        <translation>Der Bericht ist in %1. Sehen Sie ihn durch, bevor Sie ihn weitergeben.</translation>
    </message>
    <message>
        <source>there is a file %1 already; --overwrite replaces it, --output names another</source>
        <translation>es gibt schon eine Datei %1; --overwrite ersetzt sie, --output nennt eine andere</translation>
    </message>
    <message>
        <source>There is a file %1 already. Replace it by this report?</source>
        <translation>Es gibt schon eine Datei %1. Durch diesen Bericht ersetzen?</translation>
    </message>
    <message>
        <source>Write this report to %1?</source>
        <translation>Diesen Bericht in %1 schreiben?</translation>
    </message>
    <message>
        <source>nothing was written</source>
        <translation>nichts wurde geschrieben</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2; --output names another</source>
        <translation>%1 kann nicht geschrieben werden: %2; --output nennt eine andere Datei</translation>
    </message>
    <message>
        <source>the debug log, where it is kept; from 4 MiB on, what is older is in asdaemon.log.old</source>
        <translation>das Debug-Protokoll, wo eines geführt wird; ab 4 MiB steht Älteres in asdaemon.log.old</translation>
    </message>
    <message>
        <source>at 1, everything of all categories goes into the debug log, too; there are neither addresses nor contents of mails in it</source>
        <translation>bei 1 geht alles aus allen Kategorien auch in das Debug-Protokoll; darin stehen weder Adressen noch Inhalte von Mails</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>not running; the session bus starts it when it is needed</source>
        <translation>läuft nicht; der Sitzungsbus startet ihn, wenn er gebraucht wird</translation>
    </message>
    <message>
        <source>not known: there is no session bus here; log in to a session that has one</source>
        <translation>nicht bekannt: hier gibt es keinen Sitzungsbus; melden Sie sich an einer Sitzung an, die einen hat</translation>
    </message>
    <message>
        <source>absent: not running, and the session bus does not know it; %1</source>
        <translation>fehlt: läuft nicht, und der Sitzungsbus kennt ihn nicht; %1</translation>
    </message>
    <message>
        <source>loaded</source>
        <translation>geladen</translation>
    </message>
    <message>
        <source>not loaded by the message server that runs; log out and in again</source>
        <translation>vom laufenden Nachrichtenserver nicht geladen; melden Sie sich ab und wieder an</translation>
    </message>
    <message>
        <source>not found; install orvmail completely and log in again</source>
        <translation>nicht gefunden; installieren Sie orvmail vollständig und melden Sie sich neu an</translation>
    </message>
    <message>
        <source>not known, as no message server is seen to run</source>
        <translation>nicht bekannt, denn es ist kein laufender Nachrichtenserver zu sehen</translation>
    </message>
    <message>
        <source>loaded, version %1</source>
        <translation>geladen, Version %1</translation>
    </message>
    <message>
        <source>just now, not over yet</source>
        <translation>gerade jetzt, noch nicht fertig</translation>
    </message>
    <message>
        <source>not yet</source>
        <translation>noch nicht</translation>
    </message>
    <message>
        <source>%1, successfully</source>
        <translation>%1, erfolgreich</translation>
    </message>
    <message>
        <source>never successfully before</source>
        <translation>noch nie mit Erfolg</translation>
    </message>
    <message>
        <source>last successfully %1</source>
        <translation>zuletzt mit Erfolg %1</translation>
    </message>
    <message>
        <source>%1, failed: %2 (%3)</source>
        <translation>%1, gescheitert: %2 (%3)</translation>
    </message>
    <message>
        <source>on, but no daemon waits for news</source>
        <translation>ein, aber kein Daemon wartet auf Neues</translation>
    </message>
    <message>
        <source>on, connected since %1</source>
        <translation>ein, verbunden seit %1</translation>
    </message>
    <message>
        <source>on, trying again: %1</source>
        <translation>ein, wird wieder versucht: %1</translation>
    </message>
    <message>
        <source>on, not connected until %1</source>
        <translation>ein, nicht verbunden bis %1</translation>
    </message>
    <message>
        <source>on, not connected until %1: %2</source>
        <translation>ein, nicht verbunden bis %1: %2</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>angehalten</translation>
    </message>
    <message>
        <source>stopped: %1</source>
        <translation>angehalten: %1</translation>
    </message>
    <message>
        <source>on, news is being fetched</source>
        <translation>ein, Neues wird geholt</translation>
    </message>
    <message>
        <source>on, not begun yet</source>
        <translation>ein, noch nicht begonnen</translation>
    </message>
    <message>
        <source>all at the server</source>
        <translation>alle beim Server</translation>
    </message>
    <message>
        <source>1 change made here is not at the server yet</source>
        <translation>1 Änderung von hier ist noch nicht beim Server</translation>
    </message>
    <message numerus="yes">
        <source>%Ln changes made here are not at the server yet</source>
        <translation>
            <numerusform>%Ln Änderung von hier ist noch nicht beim Server</numerusform>
            <numerusform>%Ln Änderungen von hier sind noch nicht beim Server</numerusform>
        </translation>
    </message>
    <message>
        <source>%1; &quot;orvmail-account outbox %2&quot; tells more</source>
        <translation>%1; „orvmail-account outbox %2“ sagt mehr</translation>
    </message>
    <message>
        <source>%1 refuses the user name or the password since %2; &quot;orvmail-account set %3 --ask-password&quot; takes another.</source>
        <translation>%1 weist den Benutzernamen oder das Passwort seit %2 zurück; „orvmail-account set %3 --ask-password“ nimmt ein anderes.</translation>
    </message>
    <message>
        <source>%1 demands a policy that is not met here, since %2; ask its administrator.</source>
        <translation>%1 verlangt eine Richtlinie, die hier nicht erfüllt ist, seit %2; fragen Sie den Administrator.</translation>
    </message>
    <message>
        <source>install orvmail completely</source>
        <translation>installieren Sie orvmail vollständig</translation>
    </message>
    <message>
        <source>%1, version %2, since %3</source>
        <translation>%1, Version %2, seit %3</translation>
    </message>
    <message>
        <source>message server</source>
        <translation>Nachrichtenserver</translation>
    </message>
    <message>
        <source>install QMF&apos;s message server</source>
        <translation>installieren Sie den Nachrichtenserver von QMF</translation>
    </message>
    <message>
        <source>plugin</source>
        <translation>Plugin</translation>
    </message>
    <message>
        <source>daemon</source>
        <translation>Daemon</translation>
    </message>
    <message>
        <source>synchronised</source>
        <translation>synchronisiert</translation>
    </message>
    <message>
        <source>changes</source>
        <translation>Änderungen</translation>
    </message>
    <message>
        <source>mail to send</source>
        <translation>zu senden</translation>
    </message>
    <message>
        <source>%1  &lt;%2&gt;  (not enabled)</source>
        <translation>%1  &lt;%2&gt;  (nicht aktiviert)</translation>
    </message>
    <message>
        <source>%1:</source>
        <translation>%1:</translation>
    </message>
    <message>
        <source>the mail, or another one of the account, is being sent just now; nothing was changed; try again in a moment</source>
        <translation>die Mail oder eine andere des Kontos wird gerade gesendet; nichts wurde geändert; versuchen Sie es gleich noch einmal</translation>
    </message>
    <message>
        <source>the daemon runs and does not tell whether it sends the mail just now; nothing was changed</source>
        <translation>der Daemon läuft und sagt nicht, ob er die Mail gerade sendet; nichts wurde geändert</translation>
    </message>
    <message>
        <source>the message server does not tell whether it sends the mail just now; nothing was changed</source>
        <translation>der Nachrichtenserver sagt nicht, ob er die Mail gerade sendet; nichts wurde geändert</translation>
    </message>
    <message>
        <source>cancelled; nothing was changed</source>
        <translation>abgebrochen; nichts wurde geändert</translation>
    </message>
    <message>
        <source>the mail has just been sent</source>
        <translation>die Mail ist soeben gesendet worden</translation>
    </message>
    <message>
        <source>the message server has ended in the middle of it; try again, &quot;orvmail-account status&quot; tells how it stands</source>
        <translation>der Nachrichtenserver hat sich mittendrin beendet; versuchen Sie es noch einmal, „orvmail-account status“ sagt, wie es steht</translation>
    </message>
    <message>
        <source>What the daemon has noted cannot be read: %1.</source>
        <translation>Was sich der Daemon gemerkt hat, kann nicht gelesen werden: %1.</translation>
    </message>
    <message>
        <source>The last synchronisation failed: </source>
        <translation>Die letzte Synchronisation ist gescheitert: </translation>
    </message>
    <message>
        <source>Push does not work: </source>
        <translation>Push funktioniert nicht: </translation>
    </message>
    <message>
        <source>not waited for any more; what is being sent goes on</source>
        <translation>es wird nicht mehr darauf gewartet; was gesendet wird, geht weiter</translation>
    </message>
    <message>
        <source>cancelled; nothing was sent</source>
        <translation>abgebrochen; nichts wurde gesendet</translation>
    </message>
    <message>
        <source>whether the mail was sent is not known: %1</source>
        <translation>ob die Mail gesendet wurde, ist nicht bekannt: %1</translation>
    </message>
    <message>
        <source>the mail is a draft now, and was not sent</source>
        <translation>die Mail ist jetzt ein Entwurf und wurde nicht gesendet</translation>
    </message>
    <message>
        <source>no message server runs in this session, and the session bus knows none; install QMF&apos;s message server, or start it with &quot;messageserver5&quot;</source>
        <translation>in dieser Sitzung läuft kein Nachrichtenserver, und der Sitzungsbus kennt keinen; installieren Sie den Nachrichtenserver von QMF, oder starten Sie ihn mit „messageserver5“</translation>
    </message>
    <message>
        <source>the message server</source>
        <translation>der Nachrichtenserver</translation>
    </message>
    <message>
        <source>&quot;messageserver5&quot; started by hand tells more</source>
        <translation>„messageserver5“, von Hand gestartet, sagt mehr</translation>
    </message>
    <message>
        <source>the session bus does not know the ActiveSync daemon (&quot;asdaemon&quot;); install orvmail completely and log in again</source>
        <translation>der Sitzungsbus kennt den ActiveSync-Daemon („asdaemon“) nicht; installieren Sie orvmail vollständig und melden Sie sich neu an</translation>
    </message>
    <message>
        <source>the ActiveSync daemon</source>
        <translation>der ActiveSync-Daemon</translation>
    </message>
    <message>
        <source>&quot;asdaemon&quot; started by hand tells more</source>
        <translation>„asdaemon“, von Hand gestartet, sagt mehr</translation>
    </message>
    <message>
        <source>%1 does not start (%2); %3</source>
        <translation>%1 startet nicht (%2); %3</translation>
    </message>
    <message>
        <source>the message server does not find the plugin (&quot;liborvmail.so&quot;); install orvmail completely and log in again</source>
        <translation>der Nachrichtenserver findet das Plugin („liborvmail.so“) nicht; installieren Sie orvmail vollständig und melden Sie sich neu an</translation>
    </message>
    <message>
        <source>the message server that runs (process %1) has not loaded the plugin; log out and in again, so that it starts anew</source>
        <translation>der laufende Nachrichtenserver (Prozess %1) hat das Plugin nicht geladen; melden Sie sich ab und wieder an, damit er neu startet</translation>
    </message>
    <message>
        <source>there is no session bus here, by which the message server is reached; log in to a session that has one</source>
        <translation>hier gibt es keinen Sitzungsbus, über den der Nachrichtenserver erreicht wird; melden Sie sich an einer Sitzung an, die einen hat</translation>
    </message>
    <message>
        <source>Messages here: %1. What the server has of them stays there.</source>
        <translation>Nachrichten hier: %1. Was der Server davon hat, bleibt dort.</translation>
    </message>
    <message>
        <source>Whether mail waits to be sent cannot be read: %1</source>
        <translation>Ob Mails auf das Senden warten, lässt sich nicht lesen: %1</translation>
    </message>
    <message>
        <source>Mail that has not been sent, and is lost: %1</source>
        <translation>Mails, die nicht gesendet wurden und verloren gehen: %1</translation>
    </message>
    <message>
        <source>Drafts that are nowhere else, and are lost: %1</source>
        <translation>Entwürfe, die sonst nirgends sind und verloren gehen: %1</translation>
    </message>
    <message>
        <source>Changes that the server does not know of yet, and that are lost: %1</source>
        <translation>Änderungen, die der Server noch nicht kennt und die verloren gehen: %1</translation>
    </message>
    <message>
        <source>The password is erased.</source>
        <translation>Das Passwort wird gelöscht.</translation>
    </message>
    <message>
        <source>the mail was deleted meanwhile, and was not sent</source>
        <translation>die Mail wurde inzwischen gelöscht und nicht gesendet</translation>
    </message>
    <message>
        <source>Mail account</source>
        <translation>Mailkonto</translation>
    </message>
    <message>
        <source>show or remove what orvmail adds to the mail store&apos;s database</source>
        <translation>zeigt oder entfernt, was orvmail der Datenbank des Mailspeichers hinzufügt</translation>
    </message>
    <message>
        <source>The daemon puts indexes into the database, so that large accounts are quick; nothing relies on them. Where they are removed, it puts them back at its next start, unless it is started with --no-indexes (asdaemon --help tells how).</source>
        <translation>Der Daemon legt Indizes in der Datenbank an, damit große Konten schnell sind; nichts verlässt sich auf sie. Wo sie entfernt werden, legt er sie bei seinem nächsten Start wieder an, außer er wird mit --no-indexes gestartet (asdaemon --help sagt wie).</translation>
    </message>
    <message>
        <source>remove the indexes</source>
        <translation>entfernt die Indizes</translation>
    </message>
    <message>
        <source>The mail store&apos;s database has no indexes of orvmail.</source>
        <translation>Die Datenbank des Mailspeichers hat keine Indizes von orvmail.</translation>
    </message>
    <message>
        <source>another program holds the mail store locked; nothing was removed</source>
        <translation>ein anderes Programm hält den Mailspeicher gesperrt; nichts wurde entfernt</translation>
    </message>
    <message>
        <source>the indexes cannot be removed: %1</source>
        <translation>die Indizes lassen sich nicht entfernen: %1</translation>
    </message>
    <message>
        <source>put no indexes of its own into the mail store&apos;s database; &quot;orvmail-account store --drop-indexes&quot; removes those that are there</source>
        <translation>legt keine eigenen Indizes in der Datenbank des Mailspeichers an; &quot;orvmail-account store --drop-indexes&quot; entfernt die, die es gibt</translation>
    </message>
    <message>
        <source>So that large accounts are quick, it puts indexes into the mail store&apos;s database when it starts and they are missing. Nothing relies on them. For a daemon that leaves that alone, write into the file that &quot;systemctl --user edit asdaemon&quot; opens: [Service], an empty ExecStart=, and ExecStart= with its path and --no-indexes, a line each.</source>
        <translation>Damit große Konten schnell sind, legt er beim Start Indizes in der Datenbank des Mailspeichers an, wenn sie fehlen. Nichts verlässt sich auf sie. Für einen Daemon, der das unterlässt, schreiben Sie in die Datei, die &quot;systemctl --user edit asdaemon&quot; öffnet: [Service], ein leeres ExecStart=, und ExecStart= mit seinem Pfad und --no-indexes, je in eine Zeile.</translation>
    </message>
    <message>
        <source>the indexes cannot be read: %1</source>
        <translation>die Indizes lassen sich nicht lesen: %1</translation>
    </message>
    <message>
        <source>another program has changed this account meanwhile, and nothing was saved; &quot;orvmail-account show %1&quot; shows how it is now</source>
        <translation>ein anderes Programm hat dieses Konto inzwischen geändert, und nichts wurde gespeichert; „orvmail-account show %1“ zeigt, wie es jetzt ist</translation>
    </message>
</context>
</TS>
