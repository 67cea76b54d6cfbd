<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>Accounts::AccountForm</name>
    <message>
        <source>&amp;Name</source>
        <translation>&amp;Nom</translation>
    </message>
    <message>
        <source>what you call this account; the address if left empty</source>
        <translation>comment vous appelez ce compte&#xa0;; l’adresse si c’est vide</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountList</name>
    <message>
        <source>Accounts</source>
        <translation>Comptes</translation>
    </message>
    <message>
        <source>(new account)</source>
        <translation>(nouveau compte)</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountPage</name>
    <message>
        <source>Account</source>
        <translation>Compte</translation>
    </message>
    <message>
        <source>&amp;Login</source>
        <translation>Conne&amp;xion</translation>
    </message>
    <message>
        <source>&amp;Options</source>
        <translation>&amp;Options</translation>
    </message>
    <message>
        <source>Out&amp;box</source>
        <translation>&amp;Boîte d’envoi</translation>
    </message>
    <message>
        <source>Out&amp;box (%1)</source>
        <translation>&amp;Boîte d’envoi (%1)</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountState</name>
    <message>
        <source>wiped by its server</source>
        <translation>effacé par son serveur</translation>
    </message>
    <message>
        <source>not used</source>
        <translation>non utilisé</translation>
    </message>
    <message>
        <source>password refused</source>
        <translation>mot de passe refusé</translation>
    </message>
    <message>
        <source>policy not met</source>
        <translation>règle non suivie</translation>
    </message>
    <message>
        <source>mail not sent</source>
        <translation>courrier non envoyé</translation>
    </message>
    <message>
        <source>synchronising</source>
        <translation>en synchronisation</translation>
    </message>
    <message>
        <source>needs attention</source>
        <translation>demande attention</translation>
    </message>
    <message>
        <source>not synchronised yet</source>
        <translation>jamais synchronisé</translation>
    </message>
    <message>
        <source>all is well</source>
        <translation>tout va bien</translation>
    </message>
</context>
<context>
    <name>Accounts::AccountWindow</name>
    <message>
        <source>Mail accounts</source>
        <translation>Comptes de courriel</translation>
    </message>
    <message>
        <source>&amp;Accounts</source>
        <translation>Co&amp;mptes</translation>
    </message>
    <message>
        <source>Ne&amp;w account</source>
        <translation>Nouvea&amp;u compte</translation>
    </message>
    <message>
        <source>&amp;Remove...</source>
        <translation>Supp&amp;rimer...</translation>
    </message>
    <message>
        <source>&amp;Test the login</source>
        <translation>&amp;Tester la connexion</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>Enregi&amp;strer</translation>
    </message>
    <message>
        <source>Save witho&amp;ut a test</source>
        <translation>Enregistrer sans t&amp;est</translation>
    </message>
    <message>
        <source>Another program has removed the account; saving adds it anew.</source>
        <translation>Un autre programme a supprimé le compte&#xa0;; l’enregistrer l’ajoute à nouveau.</translation>
    </message>
    <message>
        <source>Discard the changes that are not saved?</source>
        <translation>Abandonner les changements non enregistrés&#xa0;?</translation>
    </message>
    <message>
        <source>Removed.</source>
        <translation>Supprimé.</translation>
    </message>
    <message>
        <source>S&amp;ynchronise now</source>
        <translation>S&amp;ynchroniser maintenant</translation>
    </message>
</context>
<context>
    <name>Accounts::FavouriteList</name>
    <message>
        <source>Favourite folders</source>
        <translation>Dossiers favoris</translation>
    </message>
    <message>
        <source>the mail store refuses to change the folder %1</source>
        <translation>le stockage du courrier refuse de modifier le dossier %1</translation>
    </message>
</context>
<context>
    <name>Accounts::FirstPage</name>
    <message>
        <source>Enter your mail address and its password: the server is found from them.</source>
        <translation>Saisissez votre adresse de courriel et son mot de passe : le serveur est trouvé ainsi.</translation>
    </message>
    <message>
        <source>name@example.com</source>
        <translation>nom@example.com</translation>
    </message>
    <message>
        <source>&amp;Mail address</source>
        <translation>A&amp;dresse de courriel</translation>
    </message>
    <message>
        <source>&amp;Password</source>
        <translation>Mot de &amp;passe</translation>
    </message>
    <message>
        <source>&amp;Enter the server yourself</source>
        <translation>Sa&amp;isir le serveur vous-même</translation>
    </message>
    <message>
        <source>&amp;Find the server</source>
        <translation>Trouver le ser&amp;veur</translation>
    </message>
    <message>
        <source>the password is missing</source>
        <translation>le mot de passe manque</translation>
    </message>
    <message>
        <source>Looking for the server of %1</source>
        <translation>Recherche du serveur de %1</translation>
    </message>
    <message>
        <source>The search leads to %1, which is not part of your address.</source>
        <translation>La recherche mène à %1, qui ne fait pas partie de votre adresse.</translation>
    </message>
    <message>
        <source>Send your address and your password there?</source>
        <translation>Y envoyer votre adresse et votre mot de passe ?</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>Annulé.</translation>
    </message>
    <message>
        <source>The server was not found; enter it here. (%1)</source>
        <translation>Le serveur n’a pas été trouvé ; saisissez-le ici. (%1)</translation>
    </message>
</context>
<context>
    <name>Accounts::MailFetch</name>
    <message>
        <source>Synchronised: nothing has changed.</source>
        <translation>Synchronisé : rien n’a changé.</translation>
    </message>
    <message>
        <source>Synchronised. New: %1, changed: %2, gone: %3</source>
        <translation>Synchronisé. Nouveaux : %1, modifiés : %2, disparus : %3</translation>
    </message>
    <message>
        <source>It is not synchronised, as it is not used. Tick this and save it.</source>
        <translation>Il n’est pas synchronisé, car il n’est pas utilisé. Cochez ceci et enregistrez-le.</translation>
    </message>
    <message>
        <source>Synchronising &quot;%1&quot;</source>
        <translation>Synchronisation de « %1 »</translation>
    </message>
    <message>
        <source>Saved. Bringing the mail of &quot;%1&quot;</source>
        <translation>Enregistré. Récupération du courrier de « %1 »</translation>
    </message>
</context>
<context>
    <name>Accounts::OptionsPane</name>
    <message>
        <source>Use th&amp;is account</source>
        <translation>Ut&amp;iliser ce compte</translation>
    </message>
    <message>
        <source>&amp;Push</source>
        <translation>&amp;Push</translation>
    </message>
    <message>
        <source>Your &amp;full name, as it goes into the mails that you send</source>
        <translation>Votre nom comp&amp;let, tel qu’il figure dans les courriels que vous envoyez</translation>
    </message>
    <message>
        <source>An account that is not used keeps its mail here and fetches no more.</source>
        <translation>Un compte qui n’est pas utilisé garde ici son courrier et n’en récupère plus.</translation>
    </message>
    <message>
        <source>The server tells of new mail as soon as it has come.</source>
        <translation>Le serveur signale le nouveau courrier dès son arrivée.</translation>
    </message>
    <message>
        <source>How far back mail is &amp;kept here</source>
        <translation>Jusqu’où le courrier est &amp;gardé ici</translation>
    </message>
    <message>
        <source>Fa&amp;vourite folders</source>
        <translation>Dossiers fa&amp;voris</translation>
    </message>
    <message>
        <source>Tell &amp;me on the desktop</source>
        <translation>Noti&amp;fier sur le bureau</translation>
    </message>
    <message>
        <source>A notification tells when the password is refused or a mail was not sent.</source>
        <translation>Une notification le dit quand le mot de passe est refusé ou qu’un message n’a pas été envoyé.</translation>
    </message>
</context>
<context>
    <name>Accounts::OutboxPane</name>
    <message>
        <source>Mail that waits to be sent</source>
        <translation>Courrier qui attend d’être envoyé</translation>
    </message>
    <message>
        <source>Put back among the &amp;drafts</source>
        <translation>Remettre parmi les broui&amp;llons</translation>
    </message>
    <message>
        <source>Try a&amp;gain</source>
        <translation>Essayer à nou&amp;veau</translation>
    </message>
    <message>
        <source>Nothing waits to be sent.</source>
        <translation>Rien n’attend d’être envoyé.</translation>
    </message>
    <message>
        <source>Mail t&amp;hat waits to be sent</source>
        <translation>Courrier &amp;qui attend d’être envoyé</translation>
    </message>
    <message>
        <source>The mail is being sent just now.</source>
        <translation>Le courriel est en cours d’envoi.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not used: see the options.</source>
        <translation>« %1 » n’est pas utilisé : voyez les options.</translation>
    </message>
    <message>
        <source>Sending</source>
        <translation>Envoi</translation>
    </message>
    <message>
        <source>The mail is sent.</source>
        <translation>Le courriel est envoyé.</translation>
    </message>
    <message>
        <source>Send it again?</source>
        <translation>L’envoyer à nouveau ?</translation>
    </message>
    <message>
        <source>The mail is among the drafts. It may have been sent: look in Sent before you send it from there.</source>
        <translation>Le courriel est parmi les brouillons. Il a peut-être été envoyé : regardez dans les messages envoyés avant de l’envoyer de là.</translation>
    </message>
    <message>
        <source>The mail is among the drafts.</source>
        <translation>Le courriel est parmi les brouillons.</translation>
    </message>
    <message>
        <source>Asking the message server</source>
        <translation>Interrogation du serveur de messages</translation>
    </message>
</context>
<context>
    <name>Accounts::Removal</name>
    <message>
        <source>Remove &quot;%1&quot; with all its mail from this machine?</source>
        <translation>Supprimer « %1 » et tout son courrier de cette machine ?</translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation>&amp;Supprimer</translation>
    </message>
    <message>
        <source>&amp;Keep</source>
        <translation>&amp;Conserver</translation>
    </message>
</context>
<context>
    <name>Accounts::Saving</name>
    <message>
        <source>there is an account of this name already</source>
        <translation>il existe déjà un compte de ce nom</translation>
    </message>
    <message>
        <source>Trying the login at %1</source>
        <translation>Essai de connexion à %1</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>Annulé.</translation>
    </message>
    <message>
        <source>The settings have changed since; test them again.</source>
        <translation>Les réglages ont changé depuis ; testez-les à nouveau.</translation>
    </message>
    <message>
        <source>%1 accepts the login.</source>
        <translation>%1 accepte la connexion.</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>Enregistré.</translation>
    </message>
    <message>
        <source>another program has changed this account meanwhile; choose it again in the list to see how it is now</source>
        <translation>un autre programme a modifié ce compte entre-temps&#xa0;; choisissez-le de nouveau dans la liste pour voir ce qu’il en est</translation>
    </message>
</context>
<context>
    <name>Accounts::WaitingBar</name>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Annuler</translation>
    </message>
    <message>
        <source>Progress of the synchronisation</source>
        <translation>Progression de la synchronisation</translation>
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
        <translation>pas de réponse en %1 s</translation>
    </message>
    <message>
        <source>%1, most often because of a recipient</source>
        <translation>%1, le plus souvent à cause d’un destinataire</translation>
    </message>
    <message>
        <source>the message has been removed or taken back</source>
        <translation>le message a été supprimé ou repris</translation>
    </message>
    <message>
        <source>the message cannot be prepared: disk full</source>
        <translation>le message ne peut pas être préparé&#xa0;: disque plein</translation>
    </message>
    <message>
        <source>the message has been edited</source>
        <translation>le message a été modifié</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>cannot read the accounts</source>
        <translation>les comptes ne peuvent pas être lus</translation>
    </message>
    <message>
        <source>the account was removed or disabled</source>
        <translation>le compte a été supprimé ou désactivé</translation>
    </message>
    <message>
        <source>the message or its part is not here any more</source>
        <translation>le message ou sa partie n’est plus ici</translation>
    </message>
    <message>
        <source>the downloaded message is empty</source>
        <translation>le message téléchargé est vide</translation>
    </message>
    <message>
        <source>cannot read the downloaded message</source>
        <translation>le message téléchargé ne peut pas être lu</translation>
    </message>
    <message>
        <source>the message is built in a way that mail programs do not get over</source>
        <translation>la structure du message bloquerait les logiciels de messagerie</translation>
    </message>
    <message>
        <source>cannot write downloaded content</source>
        <translation>le contenu téléchargé ne peut pas être écrit</translation>
    </message>
    <message>
        <source>cannot mark a message that is to be sent</source>
        <translation>un message à envoyer ne peut pas être marqué</translation>
    </message>
    <message>
        <source>cannot mark a message of the outbox</source>
        <translation>un message de la boîte d’envoi ne peut pas être marqué</translation>
    </message>
    <message>
        <source>the sending was interrupted</source>
        <translation>l’envoi a été interrompu</translation>
    </message>
    <message>
        <source>cannot read a message that is to be sent</source>
        <translation>un message à envoyer ne peut pas être lu</translation>
    </message>
    <message>
        <source>the message has been removed</source>
        <translation>le message a été supprimé</translation>
    </message>
    <message>
        <source>cannot put a message back into the outbox</source>
        <translation>un message ne peut pas être remis dans la boîte d’envoi</translation>
    </message>
    <message>
        <source>cannot take a sent message out of the outbox</source>
        <translation>un message envoyé ne peut pas être retiré de la boîte d’envoi</translation>
    </message>
    <message>
        <source>what became of the mail has changed meanwhile; nothing was done</source>
        <translation>ce qu’est devenu le message a changé entre-temps&#xa0;; rien n’a été fait</translation>
    </message>
    <message>
        <source>cannot move a message to the drafts</source>
        <translation>un message ne peut pas être mis parmi les brouillons</translation>
    </message>
    <message>
        <source>it is not known whether the server has sent the message; look among the sent messages, and send it again only if it is not there</source>
        <translation>on ne sait pas si le serveur a envoyé le message&#xa0;; regardez parmi les messages envoyés, et ne le renvoyez que s’il n’y est pas</translation>
    </message>
    <message>
        <source>the message has no recipient</source>
        <translation>le message n’a pas de destinataire</translation>
    </message>
    <message>
        <source>a recipient has no valid address</source>
        <translation>un destinataire n’a pas d’adresse valable</translation>
    </message>
    <message>
        <source>an attached message or part is not here</source>
        <translation>un message joint ou une partie n’est pas ici</translation>
    </message>
    <message>
        <source>the account was removed</source>
        <translation>le compte a été supprimé</translation>
    </message>
    <message>
        <source>%1 (mail store error %2)</source>
        <translation>%1 (erreur %2 de la base de courrier)</translation>
    </message>
    <message>
        <source>disk full: %1</source>
        <translation>disque plein&#xa0;: %1</translation>
    </message>
    <message>
        <source>disk full: no room for %1 bytes</source>
        <translation>disque plein&#xa0;: pas de place pour %1 octets</translation>
    </message>
    <message>
        <source>cannot open %1</source>
        <translation>%1 ne peut pas être ouvert</translation>
    </message>
    <message>
        <source>cannot protect %1</source>
        <translation>%1 ne peut pas être protégé</translation>
    </message>
    <message>
        <source>sync state: %1</source>
        <translation>état de synchronisation&#xa0;: %1</translation>
    </message>
    <message>
        <source>the message cannot be prepared</source>
        <translation>le message ne peut pas être préparé</translation>
    </message>
    <message>
        <source>the server does not get on</source>
        <translation>le serveur n’avance pas</translation>
    </message>
    <message>
        <source>the folder is gone</source>
        <translation>le dossier a disparu</translation>
    </message>
    <message>
        <source>There is no room left on this device.</source>
        <translation>Il n’y a plus de place sur cet appareil.</translation>
    </message>
    <message>
        <source>The mail store on this device cannot be read or written.</source>
        <translation>La base de courrier de cet appareil ne peut pas être lue ou écrite.</translation>
    </message>
    <message>
        <source>There is no host named %1.</source>
        <translation>Il n’y a pas d’hôte nommé %1.</translation>
    </message>
    <message>
        <source>%1 refuses the connection.</source>
        <translation>%1 refuse la connexion.</translation>
    </message>
    <message>
        <source>%1 has cut the connection.</source>
        <translation>%1 a coupé la connexion.</translation>
    </message>
    <message>
        <source>There is no connection to %1.</source>
        <translation>Il n’y a pas de connexion à %1.</translation>
    </message>
    <message>
        <source>No ActiveSync server answers at %1%2.</source>
        <translation>Aucun serveur ActiveSync ne répond sur %1%2.</translation>
    </message>
    <message>
        <source>%1 refuses the user name or the password%2.</source>
        <translation>%1 refuse le nom d’utilisateur ou le mot de passe%2.</translation>
    </message>
    <message>
        <source>%1 has asked to remove this account&apos;s mail from this device.</source>
        <translation>%1 a demandé de supprimer de cet appareil le courrier de ce compte.</translation>
    </message>
    <message>
        <source>%1 forbids it to this device or this user%2.</source>
        <translation>%1 l’interdit à cet appareil ou à cet utilisateur%2.</translation>
    </message>
    <message>
        <source>%1 could not do what was asked for%2.</source>
        <translation>%1 n’a pas pu faire ce qui était demandé%2.</translation>
    </message>
    <message>
        <source>What was asked for is not at %1 any more%2.</source>
        <translation>Ce qui était demandé n’est plus sur %1%2.</translation>
    </message>
    <message>
        <source>The answer of %1 cannot be understood%2.</source>
        <translation>La réponse de %1 ne peut pas être comprise%2.</translation>
    </message>
    <message>
        <source>%1 has no room for it%2.</source>
        <translation>%1 n’a pas de place pour cela%2.</translation>
    </message>
    <message>
        <source>%1 does not answer in time%2.</source>
        <translation>%1 ne répond pas à temps%2.</translation>
    </message>
    <message>
        <source>%1 demands a policy that is not met here%2.</source>
        <translation>%1 exige une stratégie qui n’est pas respectée ici%2.</translation>
    </message>
    <message>
        <source>%1 failed%2.</source>
        <translation>%1 a échoué%2.</translation>
    </message>
    <message>
        <source>The certificate of %1 is not trusted, or it speaks no TLS.</source>
        <translation>Le certificat de %1 n’est pas digne de confiance, ou l’hôte ne parle pas TLS.</translation>
    </message>
    <message>
        <source>The account&apos;s setting &quot;%1&quot; is missing or wrong.</source>
        <translation>Le réglage «&#xa0;%1&#xa0;» du compte manque ou est faux.</translation>
    </message>
    <message>
        <source>another process holds the mail store locked</source>
        <translation>un autre processus tient la base de courrier verrouillée</translation>
    </message>
    <message>
        <source>an answer to something else</source>
        <translation>une réponse à autre chose</translation>
    </message>
    <message>
        <source>an answer of more than %1 elements</source>
        <translation>une réponse de plus de %1 éléments</translation>
    </message>
    <message>
        <source>an answer of more than %1 bytes</source>
        <translation>une réponse de plus de %1 octets</translation>
    </message>
    <message>
        <source>a content of more than %1 bytes</source>
        <translation>un contenu de plus de %1 octets</translation>
    </message>
    <message>
        <source>the session is over</source>
        <translation>la session est terminée</translation>
    </message>
    <message>
        <source>the server answered without content</source>
        <translation>le serveur a répondu sans contenu</translation>
    </message>
    <message>
        <source>the attachment is no base64</source>
        <translation>la pièce jointe n’est pas en base64</translation>
    </message>
    <message>
        <source>cannot write the attachment: %1</source>
        <translation>la pièce jointe ne peut pas être écrite&#xa0;: %1</translation>
    </message>
    <message>
        <source>the attachment is gone</source>
        <translation>la pièce jointe a disparu</translation>
    </message>
    <message>
        <source>cannot write the message: %1</source>
        <translation>le message ne peut pas être écrit&#xa0;: %1</translation>
    </message>
    <message>
        <source>the message is gone</source>
        <translation>le message a disparu</translation>
    </message>
    <message>
        <source>the server failed</source>
        <translation>le serveur a échoué</translation>
    </message>
    <message>
        <source>the folder tree&apos;s key is not accepted</source>
        <translation>la clé de l’arborescence n’est pas acceptée</translation>
    </message>
    <message>
        <source>the server did not understand the request</source>
        <translation>le serveur n’a pas compris la demande</translation>
    </message>
    <message>
        <source>more than %1 folders</source>
        <translation>plus de %1 dossiers</translation>
    </message>
    <message>
        <source>an answer without a synchronisation key</source>
        <translation>une réponse sans clé de synchronisation</translation>
    </message>
    <message>
        <source>no memory to unpack the answer</source>
        <translation>pas de mémoire pour décompresser la réponse</translation>
    </message>
    <message>
        <source>the packed answer is damaged</source>
        <translation>la réponse compressée est endommagée</translation>
    </message>
    <message>
        <source>the packed answer grows beyond %1 times its size</source>
        <translation>la réponse compressée dépasse %1 fois sa taille</translation>
    </message>
    <message>
        <source>the server redirects in a circle, or to where the login goes only if the account says so: %1</source>
        <translation>le serveur redirige en rond, ou vers un endroit où l’identifiant ne va que si le compte le dit&#xa0;: %1</translation>
    </message>
    <message>
        <source>only %1 of the answer&apos;s %2 bytes have come</source>
        <translation>seuls %1 des %2 octets de la réponse sont arrivés</translation>
    </message>
    <message>
        <source>the packed answer was cut</source>
        <translation>la réponse compressée a été coupée</translation>
    </message>
    <message>
        <source>no TLS with the server: %1</source>
        <translation>pas de TLS avec le serveur&#xa0;: %1</translation>
    </message>
    <message>
        <source>the server&apos;s certificate is not trusted: %1</source>
        <translation>le certificat du serveur n’est pas digne de confiance&#xa0;: %1</translation>
    </message>
    <message>
        <source>there is no host of this name</source>
        <translation>il n’y a pas d’hôte de ce nom</translation>
    </message>
    <message>
        <source>the answer was cut: %1</source>
        <translation>la réponse a été coupée&#xa0;: %1</translation>
    </message>
    <message>
        <source>no answer in time</source>
        <translation>pas de réponse dans le délai</translation>
    </message>
    <message>
        <source>the answer stopped in the middle</source>
        <translation>la réponse s’est arrêtée au milieu</translation>
    </message>
    <message>
        <source>the server answered HTTP %1</source>
        <translation>le serveur a répondu HTTP %1</translation>
    </message>
    <message>
        <source>the item is gone</source>
        <translation>l’élément a disparu</translation>
    </message>
    <message>
        <source>access denied</source>
        <translation>accès refusé</translation>
    </message>
    <message>
        <source>the server does not have that range</source>
        <translation>le serveur n’a pas cette plage</translation>
    </message>
    <message>
        <source>the server&apos;s store failed</source>
        <translation>le stockage du serveur a échoué</translation>
    </message>
    <message>
        <source>too large for the server</source>
        <translation>trop grand pour le serveur</translation>
    </message>
    <message>
        <source>the server could not convert the item</source>
        <translation>le serveur n’a pas pu convertir l’élément</translation>
    </message>
    <message>
        <source>the linked store refuses the login</source>
        <translation>le stockage lié refuse la connexion</translation>
    </message>
    <message>
        <source>more than %1 attachments</source>
        <translation>plus de %1 pièces jointes</translation>
    </message>
    <message>
        <source>no ActiveSync server answers at this address</source>
        <translation>aucun serveur ActiveSync ne répond à cette adresse</translation>
    </message>
    <message>
        <source>the server speaks only the versions %1</source>
        <translation>le serveur ne parle que les versions %1</translation>
    </message>
    <message>
        <source>the heartbeat is out of the server&apos;s range</source>
        <translation>le heartbeat est hors de la plage du serveur</translation>
    </message>
    <message>
        <source>too many folders for the server</source>
        <translation>trop de dossiers pour le serveur</translation>
    </message>
    <message>
        <source>the folder tree has changed</source>
        <translation>l’arborescence a changé</translation>
    </message>
    <message>
        <source>not one of the known ones</source>
        <translation>pas l’un des états connus</translation>
    </message>
    <message>
        <source>the server could not provision</source>
        <translation>le serveur n’a pas pu transmettre la stratégie</translation>
    </message>
    <message>
        <source>the server did not go on provisioning</source>
        <translation>le serveur n’a pas continué à transmettre la stratégie</translation>
    </message>
    <message>
        <source>a policy without a key</source>
        <translation>une stratégie sans clé</translation>
    </message>
    <message>
        <source>what is to be sent ends too early</source>
        <translation>ce qui est à envoyer se termine trop tôt</translation>
    </message>
    <message>
        <source>the server did not understand the search</source>
        <translation>le serveur n’a pas compris la recherche</translation>
    </message>
    <message>
        <source>not found</source>
        <translation>introuvable</translation>
    </message>
    <message>
        <source>the search is too complex for the server</source>
        <translation>la recherche est trop complexe pour le serveur</translation>
    </message>
    <message>
        <source>the search took the server too long</source>
        <translation>la recherche a pris trop de temps au serveur</translation>
    </message>
    <message>
        <source>the store refuses the login</source>
        <translation>le stockage refuse la connexion</translation>
    </message>
    <message>
        <source>more than %1 results</source>
        <translation>plus de %1 résultats</translation>
    </message>
    <message>
        <source>the message cannot be read</source>
        <translation>le message ne peut pas être lu</translation>
    </message>
    <message>
        <source>the message is too large for the server: %1 bytes</source>
        <translation>le message est trop grand pour le serveur&#xa0;: %1 octets</translation>
    </message>
    <message>
        <source>server: no name is set</source>
        <translation>serveur&#xa0;: aucun nom n’est donné</translation>
    </message>
    <message>
        <source>server: &quot;%1&quot; is not the name of a host</source>
        <translation>serveur&#xa0;: «&#xa0;%1&#xa0;» n’est pas le nom d’un hôte</translation>
    </message>
    <message>
        <source>port: %1 is not a port</source>
        <translation>port&#xa0;: %1 n’est pas un port</translation>
    </message>
    <message>
        <source>encryption: %1 is neither 0 (none) nor 1 (TLS)</source>
        <translation>chiffrement&#xa0;: %1 n’est ni 0 (aucun) ni 1 (TLS)</translation>
    </message>
    <message>
        <source>username: no name is set</source>
        <translation>nom d’utilisateur&#xa0;: aucun nom n’est donné</translation>
    </message>
    <message>
        <source>username: a colon cannot be part of it</source>
        <translation>nom d’utilisateur&#xa0;: il ne peut pas contenir de deux-points</translation>
    </message>
    <message>
        <source>the server asks to be left alone</source>
        <translation>le serveur demande à être laissé tranquille</translation>
    </message>
    <message>
        <source>the server&apos;s policy demands what is not met here: %1</source>
        <translation>la stratégie du serveur exige ce qui n’est pas respecté ici&#xa0;: %1</translation>
    </message>
    <message>
        <source>the server did not take the settings</source>
        <translation>le serveur n’a pas accepté les réglages</translation>
    </message>
    <message>
        <source>the mailbox is full</source>
        <translation>la boîte aux lettres est pleine</translation>
    </message>
    <message>
        <source>the mailbox is offline</source>
        <translation>la boîte aux lettres est hors ligne</translation>
    </message>
    <message>
        <source>the quota for sending is used up</source>
        <translation>le quota d’envoi est épuisé</translation>
    </message>
    <message>
        <source>a recipient cannot be resolved</source>
        <translation>un destinataire ne peut pas être résolu</translation>
    </message>
    <message>
        <source>the server does not allow replies to this message</source>
        <translation>le serveur ne permet pas de répondre à ce message</translation>
    </message>
    <message>
        <source>sent before</source>
        <translation>déjà envoyé</translation>
    </message>
    <message>
        <source>the server could not submit the message</source>
        <translation>le serveur n’a pas pu transmettre le message</translation>
    </message>
    <message>
        <source>the reply or forward failed</source>
        <translation>la réponse ou le transfert a échoué</translation>
    </message>
    <message>
        <source>the server did not understand the message</source>
        <translation>le serveur n’a pas compris le message</translation>
    </message>
    <message>
        <source>this user or device may not synchronise</source>
        <translation>cet utilisateur ou cet appareil n’a pas le droit de synchroniser</translation>
    </message>
    <message>
        <source>the server has lost its state</source>
        <translation>le serveur a perdu son état</translation>
    </message>
    <message>
        <source>the server has locked its state</source>
        <translation>le serveur a verrouillé son état</translation>
    </message>
    <message>
        <source>the server&apos;s state is damaged</source>
        <translation>l’état du serveur est endommagé</translation>
    </message>
    <message>
        <source>the server forbids the operation</source>
        <translation>le serveur interdit l’opération</translation>
    </message>
    <message>
        <source>the server&apos;s policy must be met wholly</source>
        <translation>la stratégie du serveur doit être respectée en entier</translation>
    </message>
    <message>
        <source>the server asks to remove the account&apos;s data from here</source>
        <translation>le serveur demande de supprimer d’ici les données du compte</translation>
    </message>
    <message>
        <source>the server takes only devices that it can provision</source>
        <translation>le serveur n’accepte que les appareils auxquels il peut donner des stratégies</translation>
    </message>
    <message>
        <source>the device must provision first</source>
        <translation>l’appareil doit d’abord chercher la stratégie</translation>
    </message>
    <message>
        <source>the server&apos;s policy has changed</source>
        <translation>la stratégie du serveur a changé</translation>
    </message>
    <message>
        <source>the policy key is wrong</source>
        <translation>la clé de la stratégie est fausse</translation>
    </message>
    <message>
        <source>the server does not take devices that are managed elsewhere</source>
        <translation>le serveur n’accepte pas les appareils gérés ailleurs</translation>
    </message>
    <message>
        <source>the server wants to know more of the device</source>
        <translation>le serveur veut en savoir plus sur l’appareil</translation>
    </message>
    <message>
        <source>the account id is invalid</source>
        <translation>l’identifiant du compte n’est pas valable</translation>
    </message>
    <message>
        <source>sending is not allowed for this account</source>
        <translation>l’envoi n’est pas permis pour ce compte</translation>
    </message>
    <message>
        <source>the user has too many devices</source>
        <translation>l’utilisateur a trop d’appareils</translation>
    </message>
    <message>
        <source>status %1: %2</source>
        <translation>état %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>the folder&apos;s key is not accepted</source>
        <translation>la clé du dossier n’est pas acceptée</translation>
    </message>
    <message>
        <source>the server is busy, later again</source>
        <translation>le serveur est occupé, plus tard</translation>
    </message>
    <message>
        <source>the item could not be converted</source>
        <translation>l’élément n’a pas pu être converti</translation>
    </message>
    <message>
        <source>a conflict that the server has won</source>
        <translation>un conflit que le serveur a gagné</translation>
    </message>
    <message>
        <source>the server wants the whole request</source>
        <translation>le serveur veut la demande entière</translation>
    </message>
    <message>
        <source>the server&apos;s limits were exceeded</source>
        <translation>les limites du serveur ont été dépassées</translation>
    </message>
    <message>
        <source>more than %1 items</source>
        <translation>plus de %1 éléments</translation>
    </message>
    <message>
        <source>an item without a usable id</source>
        <translation>un élément sans identifiant utilisable</translation>
    </message>
    <message>
        <source>a folder without a synchronisation key</source>
        <translation>un dossier sans clé de synchronisation</translation>
    </message>
    <message>
        <source>not WBXML 1.1 to 1.3</source>
        <translation>pas du WBXML 1.1 à 1.3</translation>
    </message>
    <message>
        <source>character set %1 is not understood</source>
        <translation>le jeu de caractères %1 n’est pas compris</translation>
    </message>
    <message>
        <source>a string table of %1 bytes is too long</source>
        <translation>une table de chaînes de %1 octets est trop longue</translation>
    </message>
    <message>
        <source>an end without a begin</source>
        <translation>une fin sans début</translation>
    </message>
    <message>
        <source>%1 bytes of opaque data are too many</source>
        <translation>%1 octets de données opaques sont de trop</translation>
    </message>
    <message>
        <source>opaque data outside the root element</source>
        <translation>des données opaques hors de l’élément racine</translation>
    </message>
    <message>
        <source>%1 is no character</source>
        <translation>%1 n’est pas un caractère</translation>
    </message>
    <message>
        <source>a string beyond the table</source>
        <translation>une chaîne au-delà de la table</translation>
    </message>
    <message>
        <source>token 0x%1 is not understood</source>
        <translation>le jeton 0x%1 n’est pas compris</translation>
    </message>
    <message>
        <source>text outside the root element</source>
        <translation>du texte hors de l’élément racine</translation>
    </message>
    <message>
        <source>nested deeper than %1 elements</source>
        <translation>imbriqué au-delà de %1 éléments</translation>
    </message>
    <message>
        <source>a number of more than 32 bits</source>
        <translation>un nombre de plus de 32 bits</translation>
    </message>
    <message>
        <source>the document ends too early</source>
        <translation>le document se termine trop tôt</translation>
    </message>
    <message>
        <source>the server did not take the acknowledgement</source>
        <translation>le serveur n’a pas accepté la confirmation</translation>
    </message>
    <message>
        <source>an attachment was changed or removed while the message was leaving</source>
        <translation>une pièce jointe a été modifiée ou supprimée pendant l’envoi du message</translation>
    </message>
    <message>
        <source>content of the message is lost on this device</source>
        <translation>du contenu du message a été perdu sur cet appareil</translation>
    </message>
</context>
<context>
    <name>OrvSettings</name>
    <message>
        <source>This is no port: %1 will be saved.</source>
        <translation>Ce n’est pas un port&#xa0;: %1 sera enregistré.</translation>
    </message>
    <message>
        <source>Form</source>
        <translation>Formulaire</translation>
    </message>
    <message>
        <source>Username</source>
        <translation>Nom d’utilisateur</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Serveur</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Encryption</source>
        <translation>Chiffrement</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Aucun</translation>
    </message>
    <message>
        <source>SSL</source>
        <translation>SSL</translation>
    </message>
    <message>
        <source>Domain</source>
        <translation>Domaine</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>Adresse de courriel</translation>
    </message>
</context>
<context>
    <name>QAbstractSocket</name>
    <message>
        <source>Socket operation timed out</source>
        <translation>délai d’opération de la socket dépassé</translation>
    </message>
</context>
<context>
    <name>QCommandLineParser</name>
    <message>
        <source>Unknown option &apos;%1&apos;.</source>
        <translation>Option inconnue «&#xa0;%1&#xa0;».</translation>
    </message>
    <message>
        <source>Unknown options: %1.</source>
        <translation>Options inconnues&#xa0;: %1.</translation>
    </message>
    <message>
        <source>Missing value after &apos;%1&apos;.</source>
        <translation>Il manque une valeur après «&#xa0;%1&#xa0;».</translation>
    </message>
    <message>
        <source>Unexpected value after &apos;%1&apos;.</source>
        <translation>Valeur inattendue après «&#xa0;%1&#xa0;».</translation>
    </message>
</context>
<context>
    <name>QHttp</name>
    <message>
        <source>Connection refused</source>
        <translation>connexion refusée</translation>
    </message>
    <message>
        <source>Connection closed</source>
        <translation>connexion fermée</translation>
    </message>
    <message>
        <source>Host %1 not found</source>
        <translation>hôte %1 introuvable</translation>
    </message>
    <message>
        <source>SSL handshake failed</source>
        <translation>échec de la négociation SSL</translation>
    </message>
</context>
<context>
    <name>QNativeSocketEngine</name>
    <message>
        <source>Network unreachable</source>
        <translation>réseau inaccessible</translation>
    </message>
    <message>
        <source>Host unreachable</source>
        <translation>hôte inaccessible</translation>
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
        <translation>&amp;Oui</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Non</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
</context>
<context>
    <name>Text</name>
    <message>
        <source>the disk may be full, or not writable</source>
        <translation>le disque est peut-être plein, ou protégé en écriture</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>erreur %1</translation>
    </message>
    <message>
        <source>the mail store in %1 cannot be opened; check that the folder and the files in it are yours and that the disk is not full</source>
        <translation>la base de courrier dans %1 ne peut pas être ouverte&#xa0;; vérifiez que le dossier et ses fichiers vous appartiennent et que le disque n’est pas plein</translation>
    </message>
    <message>
        <source>there is an account &quot;%1&quot; already; choose another name</source>
        <translation>il existe déjà un compte «&#xa0;%1&#xa0;»&#xa0;; choisissez un autre nom</translation>
    </message>
    <message>
        <source>the mail store in %1 refuses to add the account (%2)</source>
        <translation>la base de courrier dans %1 refuse d’ajouter le compte (%2)</translation>
    </message>
    <message>
        <source>the mail store in %1 refuses to change the account (%2)</source>
        <translation>la base de courrier dans %1 refuse de modifier le compte (%2)</translation>
    </message>
    <message>
        <source>the mail store in %1 refuses to remove the account (%2)</source>
        <translation>la base de courrier dans %1 refuse de supprimer le compte (%2)</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was wiped: %2 had its mail and its password removed from here, and it is not enabled; if you are to use it again, &quot;orvmail-account set %3 --ask-password --enabled on&quot; takes the password anew</source>
        <translation>«&#xa0;%1&#xa0;» a été effacé&#xa0;: %2 a fait supprimer d’ici son courrier et son mot de passe, et il n’est plus activé&#xa0;; si vous devez l’utiliser à nouveau, «&#xa0;orvmail-account set %3 --ask-password --enabled on&#xa0;» redemande le mot de passe</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not enabled; &quot;orvmail-account set %2 --enabled on&quot; changes it</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas activé&#xa0;; «&#xa0;orvmail-account set %2 --enabled on&#xa0;» l’active</translation>
    </message>
    <message>
        <source>the account has no name; give it one</source>
        <translation>le compte n’a pas de nom&#xa0;; donnez-lui-en un</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no mail address; it looks like name@example.com</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas une adresse de courriel&#xa0;; elle ressemble à nom@example.com</translation>
    </message>
    <message>
        <source>%1; give the name alone, such as mail.example.com</source>
        <translation>%1&#xa0;; donnez le nom seul, par exemple mail.example.com</translation>
    </message>
    <message>
        <source>the mail store cannot keep this password: it knows the letters of Western European languages alone; choose another at the server</source>
        <translation>la base de courrier ne peut pas conserver ce mot de passe&#xa0;: elle ne connaît que les lettres des langues d’Europe occidentale&#xa0;; choisissez-en un autre auprès du serveur</translation>
    </message>
    <message>
        <source>%1 is no ActiveSync server</source>
        <translation>%1 n’est pas un serveur ActiveSync</translation>
    </message>
    <message>
        <source>check server and port</source>
        <translation>vérifiez le serveur et le port</translation>
    </message>
    <message>
        <source>%1 refuses user name or password of &quot;%2&quot;; check both, and the domain</source>
        <translation>%1 refuse le nom d’utilisateur ou le mot de passe de «&#xa0;%2&#xa0;»&#xa0;; vérifiez les deux, ainsi que le domaine</translation>
    </message>
    <message>
        <source>%1 forbids this device or this user</source>
        <translation>%1 interdit l’accès à cet appareil ou à cet utilisateur</translation>
    </message>
    <message>
        <source>ask its administrator to allow it</source>
        <translation>demandez à son administrateur de l’autoriser</translation>
    </message>
    <message>
        <source>there is no room left, here or at the server</source>
        <translation>il n’y a plus de place, ici ou sur le serveur</translation>
    </message>
    <message>
        <source>make room and try again</source>
        <translation>faites de la place et réessayez</translation>
    </message>
    <message>
        <source>%1 does not answer</source>
        <translation>%1 ne répond pas</translation>
    </message>
    <message>
        <source>check server, port and network</source>
        <translation>vérifiez le serveur, le port et le réseau</translation>
    </message>
    <message>
        <source>no connection to %1</source>
        <translation>pas de connexion à %1</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>annulé</translation>
    </message>
    <message>
        <source>%1 cannot be used with these settings</source>
        <translation>%1 ne peut pas être utilisé avec ces réglages</translation>
    </message>
    <message>
        <source>check server, port and encryption</source>
        <translation>vérifiez le serveur, le port et le chiffrement</translation>
    </message>
    <message>
        <source>%1 demands a policy that is not met here</source>
        <translation>%1 exige une stratégie qui n’est pas respectée ici</translation>
    </message>
    <message>
        <source>ask its administrator</source>
        <translation>demandez à son administrateur</translation>
    </message>
    <message>
        <source>%1 has failed</source>
        <translation>%1 a échoué</translation>
    </message>
    <message>
        <source>try again later</source>
        <translation>réessayez plus tard</translation>
    </message>
    <message>
        <source>user name or password refused</source>
        <translation>nom d’utilisateur ou mot de passe refusé</translation>
    </message>
    <message>
        <source>no such service (%1)</source>
        <translation>pas de tel service (%1)</translation>
    </message>
    <message>
        <source>there is no host of this name</source>
        <translation>il n’y a pas d’hôte de ce nom</translation>
    </message>
    <message>
        <source>its certificate is not trusted</source>
        <translation>son certificat n’est pas digne de confiance</translation>
    </message>
    <message>
        <source>no answer in time</source>
        <translation>pas de réponse dans le délai</translation>
    </message>
    <message>
        <source>service record of %1</source>
        <translation>enregistrement de service de %1</translation>
    </message>
    <message>
        <source>there is none</source>
        <translation>il n’y en a pas</translation>
    </message>
    <message>
        <source>it takes no login by HTTP Basic</source>
        <translation>il n’accepte pas de connexion par HTTP Basic</translation>
    </message>
    <message>
        <source>it redirects in a circle, or to where there is no TLS</source>
        <translation>il redirige en rond, ou vers un endroit sans TLS</translation>
    </message>
    <message>
        <source>it names no ActiveSync server</source>
        <translation>il ne nomme aucun serveur ActiveSync</translation>
    </message>
    <message>
        <source>its server %1 is not reached by TLS</source>
        <translation>son serveur %1 n’est pas accessible par TLS</translation>
    </message>
    <message>
        <source>it leads to no other address</source>
        <translation>il ne mène à aucune autre adresse</translation>
    </message>
    <message>
        <source>%1 was not confirmed</source>
        <translation>%1 n’a pas été confirmé</translation>
    </message>
    <message>
        <source>the account&apos;s name or number</source>
        <translation>le nom ou le numéro du compte</translation>
    </message>
    <message>
        <source>set an account up</source>
        <translation>configurer un compte</translation>
    </message>
    <message>
        <source>What the options leave open is asked for on a terminal. Without --server the server is found from the mail address (Autodiscover).</source>
        <translation>Ce que les options ne précisent pas est demandé sur un terminal. Sans --server, le serveur est trouvé à partir de l’adresse (Autodiscover).</translation>
    </message>
    <message>
        <source>The account is saved when the login has succeeded. Then its mail is fetched for the first time.</source>
        <translation>Le compte est enregistré une fois la connexion réussie. Son courrier est alors récupéré pour la première fois.</translation>
    </message>
    <message>
        <source>what the account is called here (default: the mail address)</source>
        <translation>le nom du compte ici (par défaut&#xa0;: l’adresse de courriel)</translation>
    </message>
    <message>
        <source>trust the hosts that the search for the server leads to</source>
        <translation>faire confiance aux hôtes auxquels mène la recherche du serveur</translation>
    </message>
    <message>
        <source>nothing was saved</source>
        <translation>rien n’a été enregistré</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Nom d’utilisateur</translation>
    </message>
    <message>
        <source>Mail address</source>
        <translation>Adresse de courriel</translation>
    </message>
    <message>
        <source>the mail address is missing; give --email</source>
        <translation>l’adresse de courriel manque&#xa0;; donnez --email</translation>
    </message>
    <message>
        <source>The search leads to %1. Send the login there?</source>
        <translation>La recherche mène à %1. Y envoyer l’identifiant et le mot de passe&#xa0;?</translation>
    </message>
    <message>
        <source>Looking for the server of %1</source>
        <translation>Recherche du serveur de %1</translation>
    </message>
    <message>
        <source>Looking for the server</source>
        <translation>Recherche du serveur</translation>
    </message>
    <message>
        <source>Found %1</source>
        <translation>Trouvé&#xa0;: %1</translation>
    </message>
    <message>
        <source>cancelled; nothing was saved</source>
        <translation>annulé&#xa0;; rien n’a été enregistré</translation>
    </message>
    <message>
        <source>%1; give --server, or --accept-redirects if you trust it</source>
        <translation>%1&#xa0;; donnez --server, ou --accept-redirects si vous lui faites confiance</translation>
    </message>
    <message>
        <source>the server of %1 cannot be found (%2)</source>
        <translation>le serveur de %1 est introuvable (%2)</translation>
    </message>
    <message>
        <source>the server of %1 cannot be found (%2); give --server</source>
        <translation>le serveur de %1 est introuvable (%2)&#xa0;; donnez --server</translation>
    </message>
    <message>
        <source>Trying the login at %1</source>
        <translation>Essai de connexion à %1</translation>
    </message>
    <message>
        <source>(An empty password changes the user name.)</source>
        <translation>(Un mot de passe vide permet de changer le nom d’utilisateur.)</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Serveur</translation>
    </message>
    <message>
        <source>Starting the message server</source>
        <translation>Démarrage du serveur de messages</translation>
    </message>
    <message>
        <source>The account &quot;%1&quot; is ready.</source>
        <translation>Le compte «&#xa0;%1&#xa0;» est prêt.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no port; a port is a number from 1 to 65535</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas un port&#xa0;; un port est un nombre de 1 à 65535</translation>
    </message>
    <message>
        <source>--server and --port name two ports, %1 and %2; give one</source>
        <translation>--server et --port désignent deux ports, %1 et %2&#xa0;; n’en donnez qu’un</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no encryption; it is &quot;tls&quot; or &quot;none&quot;</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas un chiffrement&#xa0;; c’est «&#xa0;tls&#xa0;» ou «&#xa0;none&#xa0;»</translation>
    </message>
    <message>
        <source>--%1 is &quot;on&quot; or &quot;off&quot;, not &quot;%2&quot;</source>
        <translation>--%1 est «&#xa0;on&#xa0;» ou «&#xa0;off&#xa0;», pas «&#xa0;%2&#xa0;»</translation>
    </message>
    <message>
        <source>--keep is 1, 3, 7, 14 or 30 days or &quot;all&quot;, not &quot;%1&quot;</source>
        <translation>--keep est 1, 3, 7, 14 ou 30 jours ou «&#xa0;all&#xa0;», pas «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>the mail address</source>
        <translation>l’adresse de courriel</translation>
    </message>
    <message>
        <source>the name that goes with the address into sent mails</source>
        <translation>le nom qui accompagne l’adresse dans les messages envoyés</translation>
    </message>
    <message>
        <source>the user name at the server</source>
        <translation>le nom d’utilisateur auprès du serveur</translation>
    </message>
    <message>
        <source>the user&apos;s domain, where the server asks for one</source>
        <translation>le domaine de l’utilisateur, si le serveur en demande un</translation>
    </message>
    <message>
        <source>the server&apos;s name or address</source>
        <translation>le nom ou l’adresse du serveur</translation>
    </message>
    <message>
        <source>the server&apos;s port (443 with TLS, else 80)</source>
        <translation>le port du serveur (443 avec TLS, sinon 80)</translation>
    </message>
    <message>
        <source>tls (the default) or none</source>
        <translation>tls (par défaut) ou none</translation>
    </message>
    <message>
        <source>let the server tell of changes at once: on or off</source>
        <translation>laisser le serveur annoncer aussitôt les changements&#xa0;: on ou off</translation>
    </message>
    <message>
        <source>how many days back mail is kept here: 1, 3, 7, 14, 30 or all</source>
        <translation>combien de jours de courrier sont gardés ici&#xa0;: 1, 3, 7, 14, 30 ou all</translation>
    </message>
    <message>
        <source>whether the account is used at all: on or off</source>
        <translation>si le compte est utilisé&#xa0;: on ou off</translation>
    </message>
    <message>
        <source>read the password from the first line of standard input</source>
        <translation>lire le mot de passe sur la première ligne de l’entrée standard</translation>
    </message>
    <message>
        <source>run this by the shell, and take the first line that it prints for the password</source>
        <translation>faire exécuter ceci par le shell et prendre la première ligne affichée comme mot de passe</translation>
    </message>
    <message>
        <source>save without trying the login</source>
        <translation>enregistrer sans essayer la connexion</translation>
    </message>
    <message>
        <source>there is no account &quot;%1&quot;; &quot;orvmail-account list&quot; shows all</source>
        <translation>il n’y a pas de compte «&#xa0;%1&#xa0;»&#xa0;; «&#xa0;orvmail-account list&#xa0;» les montre tous</translation>
    </message>
    <message>
        <source>wait so long for a server (20 seconds)</source>
        <translation>attendre un serveur aussi longtemps (20 secondes)</translation>
    </message>
    <message>
        <source>--timeout is a number of seconds, not &quot;%1&quot;</source>
        <translation>--timeout est un nombre de secondes, pas «&#xa0;%1&#xa0;»</translation>
    </message>
    <message>
        <source>Waiting for %1</source>
        <translation>Attente de %1</translation>
    </message>
    <message>
        <source>--password-stdin and --password-command name two passwords; give one</source>
        <translation>--password-stdin et --password-command désignent deux mots de passe&#xa0;; n’en donnez qu’un</translation>
    </message>
    <message>
        <source>there is no terminal to ask for the password; give --password-stdin and write it to standard input, or --password-command</source>
        <translation>il n’y a pas de terminal pour demander le mot de passe&#xa0;; donnez --password-stdin et écrivez-le sur l’entrée standard, ou --password-command</translation>
    </message>
    <message>
        <source>no password came from standard input</source>
        <translation>aucun mot de passe n’est venu de l’entrée standard</translation>
    </message>
    <message>
        <source>show the folders of an account</source>
        <translation>montrer les dossiers d’un compte</translation>
    </message>
    <message>
        <source>Each with how many messages are in it and how many of them are unread, as they are on this machine.</source>
        <translation>Chacun avec le nombre de messages qu’il contient et de ceux non lus, tels qu’ils sont sur cette machine.</translation>
    </message>
    <message>
        <source>There is no folder yet; &quot;orvmail-account sync&quot; brings them.</source>
        <translation>Il n’y a pas encore de dossier&#xa0;; «&#xa0;orvmail-account sync&#xa0;» les récupère.</translation>
    </message>
    <message>
        <source>show all accounts</source>
        <translation>montrer tous les comptes</translation>
    </message>
    <message>
        <source>%1  %2  &lt;%3&gt;  at %4</source>
        <translation>%1  %2  &lt;%3&gt;  sur %4</translation>
    </message>
    <message>
        <source>%1  %2  &lt;%3&gt;  at %4  (not enabled)</source>
        <translation>%1  %2  &lt;%3&gt;  sur %4  (désactivé)</translation>
    </message>
    <message>
        <source>There is no account; &quot;orvmail-account add&quot; sets one up.</source>
        <translation>Il n’y a pas de compte&#xa0;; «&#xa0;orvmail-account add&#xa0;» en configure un.</translation>
    </message>
    <message>
        <source>mail %1 is being sent just now; nothing was done</source>
        <translation>le message %1 est en cours d’envoi&#xa0;; rien n’a été fait</translation>
    </message>
    <message>
        <source>no mail of the number &quot;%1&quot; waits to be sent; &quot;orvmail-account outbox&quot; shows all</source>
        <translation>aucun message de numéro «&#xa0;%1&#xa0;» n’attend d’être envoyé&#xa0;; «&#xa0;orvmail-account outbox&#xa0;» les montre tous</translation>
    </message>
    <message>
        <source>%1; --yes sends it again</source>
        <translation>%1&#xa0;; --yes le renvoie</translation>
    </message>
    <message>
        <source>%1. Send it again?</source>
        <translation>%1. Le renvoyer&#xa0;?</translation>
    </message>
    <message>
        <source>nothing was sent</source>
        <translation>rien n’a été envoyé</translation>
    </message>
    <message>
        <source>show what waits to be sent; send it again, or not at all</source>
        <translation>montrer ce qui attend d’être envoyé&#xa0;; le renvoyer, ou ne pas l’envoyer</translation>
    </message>
    <message>
        <source>MESSAGE is a number that the list shows. A mail that may have been sent is looked for at the server before it goes again; where that cannot be found out, you are asked.</source>
        <translation>MESSAGE est un numéro que montre la liste. Un message qui a peut-être été envoyé est cherché sur le serveur avant de repartir&#xa0;; là où on ne peut pas le savoir, la question vous est posée.</translation>
    </message>
    <message>
        <source>show this account&apos;s mail; without it, that of all</source>
        <translation>montrer le courrier de ce compte&#xa0;; sans lui, celui de tous</translation>
    </message>
    <message>
        <source>have the mail sent now</source>
        <translation>faire envoyer le message maintenant</translation>
    </message>
    <message>
        <source>do not send it, put it back among the drafts</source>
        <translation>ne pas l’envoyer, le remettre parmi les brouillons</translation>
    </message>
    <message>
        <source>send again what may have been sent, without asking</source>
        <translation>renvoyer sans demander ce qui a peut-être été envoyé</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is nothing to do with a mail; see --help</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas une action sur un message&#xa0;; voir --help</translation>
    </message>
    <message>
        <source>%1: nothing waits to be sent.</source>
        <translation>%1&#xa0;: rien n’attend d’être envoyé.</translation>
    </message>
    <message>
        <source>%1: %2 to send</source>
        <translation>%1&#xa0;: %2 à envoyer</translation>
    </message>
    <message>
        <source>Sending</source>
        <translation>Envoi</translation>
    </message>
    <message>
        <source>Mail %1 is sent.</source>
        <translation>Le message %1 est envoyé.</translation>
    </message>
    <message>
        <source>Asking the message server</source>
        <translation>Question au serveur de messages</translation>
    </message>
    <message>
        <source>Mail %1 is among the drafts.</source>
        <translation>Le message %1 est parmi les brouillons.</translation>
    </message>
    <message>
        <source>It may have been sent: look in Sent before you send it from there. If you do not change it, it is looked for at the server first.</source>
        <translation>Il a peut-être été envoyé&#xa0;: regardez dans les messages envoyés avant de l’envoyer de là. Si vous ne le modifiez pas, il est d’abord cherché sur le serveur.</translation>
    </message>
    <message>
        <source>remove an account with its mail</source>
        <translation>supprimer un compte avec son courrier</translation>
    </message>
    <message>
        <source>What is at the server stays there.</source>
        <translation>Ce qui est sur le serveur y reste.</translation>
    </message>
    <message>
        <source>do not ask</source>
        <translation>ne pas demander</translation>
    </message>
    <message>
        <source>there is no terminal to ask; give --yes to remove the account</source>
        <translation>il n’y a pas de terminal pour demander&#xa0;; donnez --yes pour supprimer le compte</translation>
    </message>
    <message>
        <source>Remove &quot;%1&quot; with all its mail from this machine?</source>
        <translation>Supprimer «&#xa0;%1&#xa0;» et tout son courrier de cette machine&#xa0;?</translation>
    </message>
    <message>
        <source>nothing was removed</source>
        <translation>rien n’a été supprimé</translation>
    </message>
    <message>
        <source>Removed.</source>
        <translation>Supprimé.</translation>
    </message>
    <message>
        <source>change the settings of an account</source>
        <translation>changer les réglages d’un compte</translation>
    </message>
    <message>
        <source>What is not named stays as it is. What the login depends on is tried at the server before it is saved.</source>
        <translation>Ce qui n’est pas nommé reste comme il est. Ce dont dépend la connexion est essayé auprès du serveur avant d’être enregistré.</translation>
    </message>
    <message>
        <source>a new name for the account</source>
        <translation>un nouveau nom pour le compte</translation>
    </message>
    <message>
        <source>ask for a new password</source>
        <translation>demander un nouveau mot de passe</translation>
    </message>
    <message>
        <source>make a folder a favourite (may be repeated)</source>
        <translation>faire d’un dossier un favori (peut être répété)</translation>
    </message>
    <message>
        <source>the contrary (may be repeated)</source>
        <translation>le contraire (peut être répété)</translation>
    </message>
    <message>
        <source>nothing to set; see --help</source>
        <translation>rien à changer&#xa0;; voir --help</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>Enregistré.</translation>
    </message>
    <message>
        <source>there is no folder &quot;%1&quot;; &quot;orvmail-account folders %2&quot; shows all</source>
        <translation>il n’y a pas de dossier «&#xa0;%1&#xa0;»&#xa0;; «&#xa0;orvmail-account folders %2&#xa0;» les montre tous</translation>
    </message>
    <message>
        <source>the mail store refuses to change a folder</source>
        <translation>la base de courrier refuse de modifier un dossier</translation>
    </message>
    <message>
        <source>show the settings of an account</source>
        <translation>montrer les réglages d’un compte</translation>
    </message>
    <message>
        <source>The password is never among them.</source>
        <translation>Le mot de passe n’en fait jamais partie.</translation>
    </message>
    <message>
        <source>tell whether mail comes and goes, and why not</source>
        <translation>dire si le courrier arrive et part, et pourquoi non</translation>
    </message>
    <message>
        <source>Starts nothing. Where no daemon runs, what is known from before is told: how the last synchronisation ended, whether the password was refused, and what waits to be sent.</source>
        <translation>Ne démarre rien. Là où aucun démon ne tourne, ce qui est déjà connu est dit&#xa0;: comment la dernière synchronisation s’est terminée, si le mot de passe a été refusé, et ce qui attend d’être envoyé.</translation>
    </message>
    <message>
        <source>the account&apos;s name or number; without it, all are told of</source>
        <translation>le nom ou le numéro du compte&#xa0;; sans lui, il s’agit de tous</translation>
    </message>
    <message>
        <source>tell it again whenever it changes, until an interrupt</source>
        <translation>le redire à chaque changement, jusqu’à une interruption</translation>
    </message>
    <message>
        <source>Exit status</source>
        <translation>Code de retour</translation>
    </message>
    <message>
        <source>all is well</source>
        <translation>tout va bien</translation>
    </message>
    <message>
        <source>an account needs you</source>
        <translation>un compte a besoin de vous</translation>
    </message>
    <message>
        <source>the message server or the daemon does not run, or the message server has not loaded the plugin</source>
        <translation>le serveur de messages ou le démon ne tourne pas, ou le serveur de messages n’a pas chargé le greffon</translation>
    </message>
    <message>
        <source>synchronise an account, or all</source>
        <translation>synchroniser un compte, ou tous</translation>
    </message>
    <message>
        <source>The message server does it, which the session bus starts if need be. What has changed is told, folder by folder. An interrupt cancels it. Where several accounts are synchronised and one fails, the others are all the same, and the exit status is 1.</source>
        <translation>C’est le serveur de messages qui s’en charge&#xa0;; le bus de session le démarre au besoin. Ce qui a changé est dit dossier par dossier. Une interruption l’annule. Si plusieurs comptes sont synchronisés et que l’un échoue, les autres le sont quand même, et le code de retour est 1.</translation>
    </message>
    <message>
        <source>the account&apos;s name or number; without it, all that are enabled</source>
        <translation>le nom ou le numéro du compte&#xa0;; sans lui, tous ceux qui sont activés</translation>
    </message>
    <message>
        <source>print nothing but what fails, as cron wants it</source>
        <translation>n’afficher que ce qui échoue, comme il convient à cron</translation>
    </message>
    <message>
        <source>There is no enabled account; nothing was synchronised.</source>
        <translation>Il n’y a pas de compte activé&#xa0;; rien n’a été synchronisé.</translation>
    </message>
    <message>
        <source>try the login at the server</source>
        <translation>essayer la connexion au serveur</translation>
    </message>
    <message>
        <source>Nothing changes, here or there. Where the login works, what is missing on this machine is told, and why the last work for the account failed.</source>
        <translation>Rien ne change, ni ici ni là-bas. Si la connexion réussit, il est dit ce qui manque sur cette machine et pourquoi le dernier travail pour le compte a échoué.</translation>
    </message>
    <message>
        <source>%1 accepts the login and speaks ActiveSync %2.</source>
        <translation>%1 accepte la connexion et parle ActiveSync %2.</translation>
    </message>
    <message>
        <source>But no mail can come: %1.</source>
        <translation>Mais aucun courrier ne peut arriver&#xa0;: %1.</translation>
    </message>
    <message>
        <source>But what was last done for it failed: %1.</source>
        <translation>Mais ce qui a été fait en dernier pour lui a échoué&#xa0;: %1.</translation>
    </message>
    <message>
        <source>%1... %2 s (Ctrl-C cancels)</source>
        <translation>%1... %2 s (Ctrl-C annule)</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>oui</translation>
    </message>
    <message>
        <source>%1 (yes/no)</source>
        <translation>%1 (oui/non)</translation>
    </message>
    <message>
        <source>no</source>
        <translation>non</translation>
    </message>
    <message>
        <source>%1; check its recipients</source>
        <translation>%1&#xa0;; vérifiez les destinataires</translation>
    </message>
    <message>
        <source>Mail %1 is being sent</source>
        <translation>Le message %1 est en cours d’envoi</translation>
    </message>
    <message>
        <source>Mail %1 was not sent: %2; it is tried again</source>
        <translation>Le message %1 n’a pas été envoyé&#xa0;: %2&#xa0;; un nouvel essai aura lieu</translation>
    </message>
    <message>
        <source>Mail %1 was not sent, and is not tried again by itself: %2</source>
        <translation>Le message %1 n’a pas été envoyé, et aucun nouvel essai n’aura lieu de lui-même&#xa0;: %2</translation>
    </message>
    <message>
        <source>no reason is known</source>
        <translation>aucune raison n’est connue</translation>
    </message>
    <message>
        <source>Mail %1 may have been sent; the server is asked before it goes again</source>
        <translation>Le message %1 a peut-être été envoyé&#xa0;; le serveur est interrogé avant qu’il ne reparte</translation>
    </message>
    <message>
        <source>Mail %1 may have been sent: look in Sent before you send it again</source>
        <translation>Le message %1 a peut-être été envoyé&#xa0;: regardez dans les messages envoyés avant de le renvoyer</translation>
    </message>
    <message>
        <source>Mail %1 goes with the next synchronisation</source>
        <translation>Le message %1 part à la prochaine synchronisation</translation>
    </message>
    <message>
        <source>(no subject)</source>
        <translation>(sans objet)</translation>
    </message>
    <message>
        <source>%1  &quot;%2&quot;  to %3</source>
        <translation>%1  «&#xa0;%2&#xa0;»  à %3</translation>
    </message>
    <message>
        <source>nobody</source>
        <translation>personne</translation>
    </message>
    <message>
        <source>the password command could not be started; nothing was changed</source>
        <translation>la commande du mot de passe n’a pas pu être démarrée&#xa0;; rien n’a été changé</translation>
    </message>
    <message>
        <source>the password command was ended by a signal; nothing was changed</source>
        <translation>la commande du mot de passe a été arrêtée par un signal&#xa0;; rien n’a été changé</translation>
    </message>
    <message>
        <source>the password command failed with exit status %1; nothing was changed</source>
        <translation>la commande du mot de passe a échoué avec le code de retour %1&#xa0;; rien n’a été changé</translation>
    </message>
    <message>
        <source>the password command printed no password; nothing was changed</source>
        <translation>la commande du mot de passe n’a affiché aucun mot de passe&#xa0;; rien n’a été changé</translation>
    </message>
    <message>
        <source>the window is not installed (%1); it is in the package orvmail-window</source>
        <translation>la fenêtre n’est pas installée (%1)&#xa0;; elle est dans le paquet orvmail-window</translation>
    </message>
    <message>
        <source>no command; see orvmail-account --help</source>
        <translation>aucune commande&#xa0;; voir orvmail-account --help</translation>
    </message>
    <message>
        <source>no such command: %1; see orvmail-account --help</source>
        <translation>commande inconnue&#xa0;: %1&#xa0;; voir orvmail-account --help</translation>
    </message>
    <message>
        <source>tell about a command</source>
        <translation>expliquer une commande</translation>
    </message>
    <message>
        <source>this one; without it, all are listed</source>
        <translation>celle-ci&#xa0;; sans elle, toutes sont énumérées</translation>
    </message>
    <message>
        <source>which account? see --help</source>
        <translation>quel compte&#xa0;? voir --help</translation>
    </message>
    <message>
        <source>too many arguments; see --help</source>
        <translation>trop d’arguments&#xa0;; voir --help</translation>
    </message>
    <message>
        <source>set up and look after ActiveSync mail accounts</source>
        <translation>configurer et gérer des comptes de courriel ActiveSync</translation>
    </message>
    <message>
        <source>Sets up and looks after ActiveSync mail accounts for the mail programs that use the Qt Messaging Framework (QMF).</source>
        <translation>Configure et gère des comptes de courriel ActiveSync pour les programmes de courriel qui utilisent le Qt Messaging Framework (QMF).</translation>
    </message>
    <message>
        <source>An account is named by its name or its number, which &quot;list&quot; shows. With --window, accounts are shown and set up in a window.</source>
        <translation>Un compte est désigné par son nom ou son numéro, que montre «&#xa0;list&#xa0;». Avec --window, les comptes sont montrés et configurés dans une fenêtre.</translation>
    </message>
    <message>
        <source>print JSON, for a program to read</source>
        <translation>afficher du JSON, destiné à un programme</translation>
    </message>
    <message>
        <source>show the libraries&apos; messages</source>
        <translation>montrer les messages des bibliothèques</translation>
    </message>
    <message>
        <source>show this text</source>
        <translation>montrer ce texte</translation>
    </message>
    <message>
        <source>done</source>
        <translation>fait</translation>
    </message>
    <message>
        <source>refused or failed; one line on standard error tells why and what to do</source>
        <translation>refusé ou échoué&#xa0;; une ligne sur l’erreur standard dit pourquoi et que faire</translation>
    </message>
    <message>
        <source>wrong usage</source>
        <translation>mauvais usage</translation>
    </message>
    <message>
        <source>Examples</source>
        <translation>Exemples</translation>
    </message>
    <message>
        <source>ask for what is needed, find the server, and set the account up</source>
        <translation>demander ce qu’il faut, trouver le serveur et configurer le compte</translation>
    </message>
    <message>
        <source>have new mail come at once, and keep all of it here</source>
        <translation>faire arriver aussitôt le nouveau courrier, et le garder ici en entier</translation>
    </message>
    <message>
        <source>take a new password from a password manager</source>
        <translation>prendre un nouveau mot de passe dans un gestionnaire de mots de passe</translation>
    </message>
    <message>
        <source>in a crontab: fetch the mail of all accounts while you are logged in (always, after &quot;loginctl enable-linger&quot;); cron sends a mail about what fails</source>
        <translation>dans une crontab&#xa0;: récupérer le courrier de tous les comptes tant que votre session est ouverte (toujours, après «&#xa0;loginctl enable-linger&#xa0;»)&#xa0;; cron envoie un message sur ce qui échoue</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Fichiers</translation>
    </message>
    <message>
        <source>the mail store, with accounts and passwords; whoever can read it can read both</source>
        <translation>la base de courrier, avec comptes et mots de passe&#xa0;; qui peut la lire peut lire les deux</translation>
    </message>
    <message>
        <source>how far the accounts are synchronised</source>
        <translation>où en est la synchronisation des comptes</translation>
    </message>
    <message>
        <source>Environment</source>
        <translation>Environnement</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder, instead of ~/.local/share/qmf</source>
        <translation>le dossier de la base de courrier, au lieu de ~/.local/share/qmf</translation>
    </message>
    <message>
        <source>the session bus, on which message server and daemon are found and started</source>
        <translation>le bus de session, sur lequel le serveur de messages et le démon sont trouvés et démarrés</translation>
    </message>
    <message>
        <source>none</source>
        <translation>aucun</translation>
    </message>
    <message>
        <source>on</source>
        <translation>activé</translation>
    </message>
    <message>
        <source>off</source>
        <translation>désactivé</translation>
    </message>
    <message>
        <source>all</source>
        <translation>tout</translation>
    </message>
    <message>
        <source>1 day</source>
        <translation>1 jour</translation>
    </message>
    <message numerus="yes">
        <source>%n days</source>
        <translation>
            <numerusform>%n jour</numerusform>
            <numerusform>%n jours</numerusform>
        </translation>
    </message>
    <message>
        <source>No message has come.</source>
        <translation>Aucun message n’est arrivé.</translation>
    </message>
    <message>
        <source>1 message has come.</source>
        <translation>1 message est arrivé.</translation>
    </message>
    <message numerus="yes">
        <source>%Ln messages have come.</source>
        <translation>
            <numerusform>%Ln message est arrivé.</numerusform>
            <numerusform>%Ln messages sont arrivés.</numerusform>
        </translation>
    </message>
    <message>
        <source>The account is saved, but its mail does not come yet: %1. Afterwards &quot;orvmail-account sync %2&quot; brings it.</source>
        <translation>Le compte est enregistré, mais son courrier n’arrive pas encore&#xa0;: %1. Ensuite, «&#xa0;orvmail-account sync %2&#xa0;» le récupère.</translation>
    </message>
    <message>
        <source>name</source>
        <translation>nom</translation>
    </message>
    <message>
        <source>number</source>
        <translation>numéro</translation>
    </message>
    <message>
        <source>email</source>
        <translation>courriel</translation>
    </message>
    <message>
        <source>full name</source>
        <translation>nom complet</translation>
    </message>
    <message>
        <source>user</source>
        <translation>utilisateur</translation>
    </message>
    <message>
        <source>domain</source>
        <translation>domaine</translation>
    </message>
    <message>
        <source>password</source>
        <translation>mot de passe</translation>
    </message>
    <message>
        <source>(none)</source>
        <translation>(aucun)</translation>
    </message>
    <message>
        <source>(kept, not shown)</source>
        <translation>(conservé, non montré)</translation>
    </message>
    <message>
        <source>server</source>
        <translation>serveur</translation>
    </message>
    <message>
        <source>port</source>
        <translation>port</translation>
    </message>
    <message>
        <source>encryption</source>
        <translation>chiffrement</translation>
    </message>
    <message>
        <source>enabled</source>
        <translation>activé</translation>
    </message>
    <message>
        <source>push</source>
        <translation>push</translation>
    </message>
    <message>
        <source>keep</source>
        <translation>garder</translation>
    </message>
    <message numerus="yes">
        <source>%1 messages, %2 unread, favourite</source>
        <translation>
            <numerusform>%1 message, %2 non lus, favori</numerusform>
            <numerusform>%1 messages, %2 non lus, favori</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 messages, %2 unread</source>
        <translation>
            <numerusform>%1 message, %2 non lus</numerusform>
            <numerusform>%1 messages, %2 non lus</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing has changed.</source>
        <translation>Rien n’a changé.</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln nouveau</numerusform>
            <numerusform>%Ln nouveaux</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln changed</source>
        <translation>
            <numerusform>%Ln modifié</numerusform>
            <numerusform>%Ln modifiés</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%Ln gone</source>
        <translation>
            <numerusform>%Ln disparu</numerusform>
            <numerusform>%Ln disparus</numerusform>
        </translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 cannot be made; check that what lies above it is writable</source>
        <translation>le dossier de la base de courrier %1 ne peut pas être créé&#xa0;; vérifiez que le dossier au-dessus est accessible en écriture</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 belongs to somebody else; set QMF_DATA to a folder of yours</source>
        <translation>le dossier de la base de courrier %1 appartient à quelqu’un d’autre&#xa0;; donnez à QMF_DATA un dossier à vous</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 cannot be closed to others</source>
        <translation>le dossier de la base de courrier %1 ne peut pas être fermé aux autres</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder %1 cannot be opened; it is not writable</source>
        <translation>le dossier de la base de courrier %1 ne peut pas être ouvert&#xa0;; il n’est pas accessible en écriture</translation>
    </message>
    <message>
        <source>there is no display to open a window on; start it in a graphical session, or see orvmail-account --help</source>
        <translation>il n’y a pas d’écran pour ouvrir une fenêtre&#xa0;; démarrez-le dans une session graphique, ou voir orvmail-account --help</translation>
    </message>
    <message>
        <source>the plugin&apos;s settings form is missing; install orvmail completely</source>
        <translation>le formulaire de réglages du greffon manque&#xa0;; installez orvmail en entier</translation>
    </message>
    <message>
        <source>set up ActiveSync mail accounts in a window</source>
        <translation>configurer des comptes de courriel ActiveSync dans une fenêtre</translation>
    </message>
    <message>
        <source>Shows the ActiveSync mail accounts of the Qt Messaging Framework (QMF) in a window, in which they are added, changed and removed. &quot;orvmail-account --window&quot; starts it, too.</source>
        <translation>Montre les comptes de courriel ActiveSync du Qt Messaging Framework (QMF) dans une fenêtre, où ils sont ajoutés, modifiés et supprimés. «&#xa0;orvmail-account --window&#xa0;» la démarre aussi.</translation>
    </message>
    <message>
        <source>tell the version</source>
        <translation>donner la version</translation>
    </message>
    <message>
        <source>the window was closed</source>
        <translation>la fenêtre a été fermée</translation>
    </message>
    <message>
        <source>there is no display to open it on</source>
        <translation>il n’y a pas d’écran pour l’ouvrir</translation>
    </message>
    <message>
        <source>Log categories</source>
        <translation>Catégories du journal</translation>
    </message>
    <message>
        <source>start and end, accounts and their settings</source>
        <translation>début et fin, comptes et leurs réglages</translation>
    </message>
    <message>
        <source>each call and its end</source>
        <translation>chaque appel et sa fin</translation>
    </message>
    <message>
        <source>the conversation with the servers, without its contents</source>
        <translation>la conversation avec les serveurs, sans son contenu</translation>
    </message>
    <message>
        <source>what a synchronisation does</source>
        <translation>ce que fait une synchronisation</translation>
    </message>
    <message>
        <source>what the mail store and Qt say; may quote people&apos;s mail, not in &quot;all&quot;</source>
        <translation>ce que disent la base de courrier et Qt&#xa0;; peut citer du courrier, pas dans «&#xa0;all&#xa0;»</translation>
    </message>
    <message>
        <source>leave changes made here alone for so long, as a mail program may take them back (default %1), unless somebody asks for a synchronisation</source>
        <translation>laisser de côté si longtemps les changements faits ici, car un programme de courriel peut les reprendre (par défaut %1), sauf si quelqu’un demande une synchronisation</translation>
    </message>
    <message>
        <source>log everything of these categories, or of &quot;all&quot;</source>
        <translation>journaliser tout de ces catégories, ou de «&#xa0;all&#xa0;»</translation>
    </message>
    <message>
        <source>give a server up that keeps silent for so long (default 120)</source>
        <translation>abandonner un serveur qui se tait si longtemps (par défaut 120)</translation>
    </message>
    <message>
        <source>ended by a signal or with the session</source>
        <translation>terminé par un signal ou avec la session</translation>
    </message>
    <message>
        <source>could not start: no session bus or mail store, or another one runs</source>
        <translation>n’a pas pu démarrer&#xa0;: pas de bus de session ou de base de courrier, ou un autre tourne</translation>
    </message>
    <message>
        <source>the mail store&apos;s folder; asdaemon.db in it is the daemon&apos;s own memory</source>
        <translation>le dossier de la base de courrier&#xa0;; asdaemon.db y est la mémoire du démon</translation>
    </message>
    <message>
        <source>what other programs of the user find it by: sockets, synchronisation state, open requests</source>
        <translation>ce par quoi les autres programmes de l’utilisateur le trouvent&#xa0;: sockets, état de synchronisation, demandes ouvertes</translation>
    </message>
    <message>
        <source>the session bus, which it serves and with which it ends</source>
        <translation>le bus de session, qu’il sert et avec lequel il se termine</translation>
    </message>
    <message>
        <source>the user&apos;s runtime folder; without it, a folder in /tmp is used</source>
        <translation>le dossier d’exécution de l’utilisateur&#xa0;; sans lui, un dossier dans /tmp est utilisé</translation>
    </message>
    <message>
        <source>bring the mail of ActiveSync accounts</source>
        <translation>apporter le courrier de comptes ActiveSync</translation>
    </message>
    <message>
        <source>Brings the mail of ActiveSync accounts into the mail store of the Qt Messaging Framework (QMF), carries what is changed there to the servers, sends mail, and waits for news where an account&apos;s push is on.</source>
        <translation>Apporte le courrier de comptes ActiveSync dans la base de courrier du Qt Messaging Framework (QMF), transmet aux serveurs ce qui y est changé, envoie du courrier, et attend les nouvelles là où le push d’un compte est activé.</translation>
    </message>
    <message>
        <source>It runs once in each session. The session bus starts it when a mail program&apos;s message server needs it; where its systemd unit is enabled for the user, it is there from login on. Accounts are set up with orvmail-account.</source>
        <translation>Il tourne une fois par session. Le bus de session le démarre quand le serveur de messages d’un programme de courriel en a besoin&#xa0;; si son unité systemd est activée pour l’utilisateur, il est là dès l’ouverture de session. Les comptes se configurent avec orvmail-account.</translation>
    </message>
    <message>
        <source>It logs to standard error, which is the journal where systemd has started it: journalctl --user -u asdaemon.</source>
        <translation>Il journalise sur l’erreur standard, c’est-à-dire le journal si systemd l’a démarré&#xa0;: journalctl --user -u asdaemon.</translation>
    </message>
    <message>
        <source>unexpected: %1</source>
        <translation>inattendu&#xa0;: %1</translation>
    </message>
    <message>
        <source>not 1 to 3600 seconds: %1</source>
        <translation>pas de 1 à 3600 secondes&#xa0;: %1</translation>
    </message>
    <message>
        <source>not 1 to 3600000 milliseconds: %1</source>
        <translation>pas de 1 à 3600000 millisecondes&#xa0;: %1</translation>
    </message>
    <message>
        <source>no such category: %1</source>
        <translation>catégorie inconnue&#xa0;: %1</translation>
    </message>
    <message>
        <source>Usage: </source>
        <translation>Utilisation&#xa0;: </translation>
    </message>
    <message>
        <source>Commands (help COMMAND tells more)</source>
        <translation>Commandes (help COMMAND en dit plus)</translation>
    </message>
    <message>
        <source>Options of every command</source>
        <translation>Options de chaque commande</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Options</translation>
    </message>
    <message>
        <source>Arguments</source>
        <translation>Arguments</translation>
    </message>
    <message>
        <source>tell on the desktop when the account needs you: on (the default) or off</source>
        <translation>dire sur le bureau quand le compte a besoin de vous&#xa0;: on (par défaut) ou off</translation>
    </message>
    <message>
        <source>notifications</source>
        <translation>notifications</translation>
    </message>
    <message>
        <source>%1: the password is refused</source>
        <translation>%1&#xa0;: le mot de passe est refusé</translation>
    </message>
    <message>
        <source>%1: the server&apos;s policy is not met</source>
        <translation>%1&#xa0;: la stratégie du serveur n’est pas respectée</translation>
    </message>
    <message>
        <source>%1: a mail could not be sent</source>
        <translation>%1&#xa0;: un message n’a pas pu être envoyé</translation>
    </message>
    <message numerus="yes">
        <source>%1: %Ln mails could not be sent</source>
        <translation>
            <numerusform>%1&#xa0;: %Ln message n’a pas pu être envoyé</numerusform>
            <numerusform>%1&#xa0;: %Ln messages n’ont pas pu être envoyés</numerusform>
        </translation>
    </message>
    <message>
        <source>The mail server refuses the user name or the password. No mail comes or goes until you enter the right one in the account&apos;s settings (&quot;orvmail-account --window&quot; or &quot;orvmail-account set %1 --ask-password&quot;).</source>
        <translation>Le serveur de courriel refuse le nom d’utilisateur ou le mot de passe. Aucun courrier n’arrive ni ne part tant que vous n’entrez pas le bon dans les réglages du compte («&#xa0;orvmail-account --window&#xa0;» ou «&#xa0;orvmail-account set %1 --ask-password&#xa0;»).</translation>
    </message>
    <message>
        <source>The mail server demands a policy that is not met on this device, and lets no mail through. Ask its administrator.</source>
        <translation>Le serveur de courriel exige une stratégie qui n’est pas respectée sur cet appareil, et ne laisse passer aucun courrier. Demandez à son administrateur.</translation>
    </message>
    <message>
        <source>It waits in the outbox. &quot;orvmail-account outbox&quot; tells why, and has it sent again or puts it back among the drafts.</source>
        <translation>Il attend dans la boîte d’envoi. «&#xa0;orvmail-account outbox&#xa0;» dit pourquoi, et le fait renvoyer ou le remet parmi les brouillons.</translation>
    </message>
    <message>
        <source>write a file for a bug report, after showing it</source>
        <translation>écrire un fichier pour un rapport de bogue, après l’avoir montré</translation>
    </message>
    <message>
        <source>The file tells versions, how the parts are found, how they and the accounts fare, how many messages there are, and what the daemon has logged. Mail addresses, servers, users and names are replaced; passwords, subjects and contents of mails are not in it.</source>
        <translation>Le fichier dit les versions, comment les parties sont trouvées, comment elles et les comptes se portent, combien il y a de messages et ce que le démon a journalisé. Adresses, serveurs, utilisateurs et noms sont remplacés&#xa0;; mots de passe, objets et contenus des messages n’y sont pas.</translation>
    </message>
    <message>
        <source>It is shown first, and written when you agree; in a pipe, nobody is asked.</source>
        <translation>Il est d’abord montré, puis écrit si vous êtes d’accord&#xa0;; dans un tube, personne n’est interrogé.</translation>
    </message>
    <message>
        <source>write it there, instead of orvmail-report.txt here; -: only show it</source>
        <translation>l’écrire là, au lieu d’orvmail-report.txt ici&#xa0;; -&#xa0;: seulement le montrer</translation>
    </message>
    <message>
        <source>write it also where there is such a file already</source>
        <translation>l’écrire même si un tel fichier existe déjà</translation>
    </message>
    <message>
        <source>write it without asking</source>
        <translation>l’écrire sans demander</translation>
    </message>
    <message>
        <source>The report is in %1. Look through it before you give it away.</source>
        <translation>Le rapport est dans %1. Parcourez-le avant de le donner.</translation>
    </message>
    <message>
        <source>there is a file %1 already; --overwrite replaces it, --output names another</source>
        <translation>il y a déjà un fichier %1&#xa0;; --overwrite le remplace, --output en nomme un autre</translation>
    </message>
    <message>
        <source>There is a file %1 already. Replace it by this report?</source>
        <translation>Il y a déjà un fichier %1. Le remplacer par ce rapport&#xa0;?</translation>
    </message>
    <message>
        <source>Write this report to %1?</source>
        <translation>Écrire ce rapport dans %1&#xa0;?</translation>
    </message>
    <message>
        <source>nothing was written</source>
        <translation>rien n’a été écrit</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2; --output names another</source>
        <translation>%1 ne peut pas être écrit&#xa0;: %2&#xa0;; --output nomme un autre fichier</translation>
    </message>
    <message>
        <source>the debug log, where it is kept; from 4 MiB on, what is older is in asdaemon.log.old</source>
        <translation>le journal de débogage, là où il est tenu&#xa0;; à partir de 4&#xa0;Mio, ce qui est plus ancien est dans asdaemon.log.old</translation>
    </message>
    <message>
        <source>at 1, everything of all categories goes into the debug log, too; there are neither addresses nor contents of mails in it</source>
        <translation>à 1, tout, dans toutes les catégories, va aussi dans le journal de débogage&#xa0;; il n’y a là ni adresses ni contenus de messages</translation>
    </message>
    <message>
        <source>running</source>
        <translation>en marche</translation>
    </message>
    <message>
        <source>not running; the session bus starts it when it is needed</source>
        <translation>à l’arrêt&#xa0;; le bus de session le démarre au besoin</translation>
    </message>
    <message>
        <source>not known: there is no session bus here; log in to a session that has one</source>
        <translation>inconnu&#xa0;: il n’y a pas ici de bus de session&#xa0;; ouvrez une session qui en a un</translation>
    </message>
    <message>
        <source>absent: not running, and the session bus does not know it; %1</source>
        <translation>absent&#xa0;: à l’arrêt, et le bus de session ne le connaît pas&#xa0;; %1</translation>
    </message>
    <message>
        <source>loaded</source>
        <translation>chargé</translation>
    </message>
    <message>
        <source>not loaded by the message server that runs; log out and in again</source>
        <translation>pas chargé par le serveur de messages qui tourne&#xa0;; fermez et rouvrez votre session</translation>
    </message>
    <message>
        <source>not found; install orvmail completely and log in again</source>
        <translation>introuvable&#xa0;; installez orvmail en entier et rouvrez votre session</translation>
    </message>
    <message>
        <source>not known, as no message server is seen to run</source>
        <translation>inconnu, car on ne voit tourner aucun serveur de messages</translation>
    </message>
    <message>
        <source>loaded, version %1</source>
        <translation>chargé, version %1</translation>
    </message>
    <message>
        <source>just now, not over yet</source>
        <translation>en ce moment, pas encore fini</translation>
    </message>
    <message>
        <source>not yet</source>
        <translation>pas encore</translation>
    </message>
    <message>
        <source>%1, successfully</source>
        <translation>%1, avec succès</translation>
    </message>
    <message>
        <source>never successfully before</source>
        <translation>jamais avec succès auparavant</translation>
    </message>
    <message>
        <source>last successfully %1</source>
        <translation>avec succès la dernière fois %1</translation>
    </message>
    <message>
        <source>%1, failed: %2 (%3)</source>
        <translation>%1, échec&#xa0;: %2 (%3)</translation>
    </message>
    <message>
        <source>on, but no daemon waits for news</source>
        <translation>activé, mais aucun démon n’attend les nouvelles</translation>
    </message>
    <message>
        <source>on, connected since %1</source>
        <translation>activé, connecté depuis %1</translation>
    </message>
    <message>
        <source>on, trying again: %1</source>
        <translation>activé, nouvel essai&#xa0;: %1</translation>
    </message>
    <message>
        <source>on, not connected until %1</source>
        <translation>activé, non connecté jusqu’à %1</translation>
    </message>
    <message>
        <source>on, not connected until %1: %2</source>
        <translation>activé, non connecté jusqu’à %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>arrêté</translation>
    </message>
    <message>
        <source>stopped: %1</source>
        <translation>arrêté&#xa0;: %1</translation>
    </message>
    <message>
        <source>on, news is being fetched</source>
        <translation>activé, récupération des nouvelles</translation>
    </message>
    <message>
        <source>on, not begun yet</source>
        <translation>activé, pas encore commencé</translation>
    </message>
    <message>
        <source>all at the server</source>
        <translation>tous sur le serveur</translation>
    </message>
    <message>
        <source>1 change made here is not at the server yet</source>
        <translation>1 changement fait ici n’est pas encore sur le serveur</translation>
    </message>
    <message numerus="yes">
        <source>%Ln changes made here are not at the server yet</source>
        <translation>
            <numerusform>%Ln changement fait ici n’est pas encore sur le serveur</numerusform>
            <numerusform>%Ln changements faits ici ne sont pas encore sur le serveur</numerusform>
        </translation>
    </message>
    <message>
        <source>%1; &quot;orvmail-account outbox %2&quot; tells more</source>
        <translation>%1&#xa0;; «&#xa0;orvmail-account outbox %2&#xa0;» en dit plus</translation>
    </message>
    <message>
        <source>%1 refuses the user name or the password since %2; &quot;orvmail-account set %3 --ask-password&quot; takes another.</source>
        <translation>%1 refuse le nom d’utilisateur ou le mot de passe depuis %2&#xa0;; «&#xa0;orvmail-account set %3 --ask-password&#xa0;» en prend un autre.</translation>
    </message>
    <message>
        <source>%1 demands a policy that is not met here, since %2; ask its administrator.</source>
        <translation>%1 exige une stratégie qui n’est pas respectée ici, depuis %2&#xa0;; demandez à son administrateur.</translation>
    </message>
    <message>
        <source>install orvmail completely</source>
        <translation>installez orvmail en entier</translation>
    </message>
    <message>
        <source>%1, version %2, since %3</source>
        <translation>%1, version %2, depuis %3</translation>
    </message>
    <message>
        <source>message server</source>
        <translation>serveur de messages</translation>
    </message>
    <message>
        <source>install QMF&apos;s message server</source>
        <translation>installez le serveur de messages de QMF</translation>
    </message>
    <message>
        <source>plugin</source>
        <translation>greffon</translation>
    </message>
    <message>
        <source>daemon</source>
        <translation>démon</translation>
    </message>
    <message>
        <source>synchronised</source>
        <translation>synchronisé</translation>
    </message>
    <message>
        <source>changes</source>
        <translation>changements</translation>
    </message>
    <message>
        <source>mail to send</source>
        <translation>à envoyer</translation>
    </message>
    <message>
        <source>%1  &lt;%2&gt;  (not enabled)</source>
        <translation>%1  &lt;%2&gt;  (désactivé)</translation>
    </message>
    <message>
        <source>%1:</source>
        <translation>%1&#xa0;:</translation>
    </message>
    <message>
        <source>the mail, or another one of the account, is being sent just now; nothing was changed; try again in a moment</source>
        <translation>le message, ou un autre du compte, est en cours d’envoi&#xa0;; rien n’a été modifié&#xa0;; réessayez dans un instant</translation>
    </message>
    <message>
        <source>the daemon runs and does not tell whether it sends the mail just now; nothing was changed</source>
        <translation>le démon tourne et ne dit pas s’il envoie le message en ce moment&#xa0;; rien n’a été modifié</translation>
    </message>
    <message>
        <source>the message server does not tell whether it sends the mail just now; nothing was changed</source>
        <translation>le serveur de messages ne dit pas s’il envoie le message en ce moment&#xa0;; rien n’a été modifié</translation>
    </message>
    <message>
        <source>cancelled; nothing was changed</source>
        <translation>annulé&#xa0;; rien n’a été modifié</translation>
    </message>
    <message>
        <source>the mail has just been sent</source>
        <translation>le message vient d’être envoyé</translation>
    </message>
    <message>
        <source>the message server has ended in the middle of it; try again, &quot;orvmail-account status&quot; tells how it stands</source>
        <translation>le serveur de messages s’est arrêté entre-temps&#xa0;; réessayez, «&#xa0;orvmail-account status&#xa0;» dit où en sont les choses</translation>
    </message>
    <message>
        <source>What the daemon has noted cannot be read: %1.</source>
        <translation>Ce que le démon a noté ne peut pas être lu&#xa0;: %1.</translation>
    </message>
    <message>
        <source>The last synchronisation failed: </source>
        <translation>La dernière synchronisation a échoué&#xa0;: </translation>
    </message>
    <message>
        <source>Push does not work: </source>
        <translation>Le push ne fonctionne pas&#xa0;: </translation>
    </message>
    <message>
        <source>not waited for any more; what is being sent goes on</source>
        <translation>on ne l’attend plus&#xa0;; ce qui est en cours d’envoi continue</translation>
    </message>
    <message>
        <source>cancelled; nothing was sent</source>
        <translation>annulé&#xa0;; rien n’a été envoyé</translation>
    </message>
    <message>
        <source>whether the mail was sent is not known: %1</source>
        <translation>on ne sait pas si le message a été envoyé&#xa0;: %1</translation>
    </message>
    <message>
        <source>the mail is a draft now, and was not sent</source>
        <translation>le message est maintenant un brouillon et n’a pas été envoyé</translation>
    </message>
    <message>
        <source>no message server runs in this session, and the session bus knows none; install QMF&apos;s message server, or start it with &quot;messageserver5&quot;</source>
        <translation>aucun serveur de messages ne tourne dans cette session, et le bus de session n’en connaît aucun&#xa0;; installez le serveur de messages de QMF, ou démarrez-le avec «&#xa0;messageserver5&#xa0;»</translation>
    </message>
    <message>
        <source>the message server</source>
        <translation>le serveur de messages</translation>
    </message>
    <message>
        <source>&quot;messageserver5&quot; started by hand tells more</source>
        <translation>«&#xa0;messageserver5&#xa0;» démarré à la main en dit plus</translation>
    </message>
    <message>
        <source>the session bus does not know the ActiveSync daemon (&quot;asdaemon&quot;); install orvmail completely and log in again</source>
        <translation>le bus de session ne connaît pas le démon ActiveSync («&#xa0;asdaemon&#xa0;»)&#xa0;; installez orvmail entièrement et reconnectez-vous</translation>
    </message>
    <message>
        <source>the ActiveSync daemon</source>
        <translation>le démon ActiveSync</translation>
    </message>
    <message>
        <source>&quot;asdaemon&quot; started by hand tells more</source>
        <translation>«&#xa0;asdaemon&#xa0;» démarré à la main en dit plus</translation>
    </message>
    <message>
        <source>%1 does not start (%2); %3</source>
        <translation>%1 ne démarre pas (%2)&#xa0;; %3</translation>
    </message>
    <message>
        <source>the message server does not find the plugin (&quot;liborvmail.so&quot;); install orvmail completely and log in again</source>
        <translation>le serveur de messages ne trouve pas le greffon («&#xa0;liborvmail.so&#xa0;»)&#xa0;; installez orvmail entièrement et reconnectez-vous</translation>
    </message>
    <message>
        <source>the message server that runs (process %1) has not loaded the plugin; log out and in again, so that it starts anew</source>
        <translation>le serveur de messages qui tourne (processus %1) n’a pas chargé le greffon&#xa0;; déconnectez-vous et reconnectez-vous, afin qu’il redémarre</translation>
    </message>
    <message>
        <source>there is no session bus here, by which the message server is reached; log in to a session that has one</source>
        <translation>il n’y a pas ici de bus de session, par lequel le serveur de messages est joint&#xa0;; ouvrez une session qui en a un</translation>
    </message>
    <message>
        <source>Messages here: %1. What the server has of them stays there.</source>
        <translation>Messages ici : %1. Ce que le serveur en a y reste.</translation>
    </message>
    <message>
        <source>Whether mail waits to be sent cannot be read: %1</source>
        <translation>On ne peut pas lire si du courrier attend d’être envoyé&#xa0;: %1</translation>
    </message>
    <message>
        <source>Mail that has not been sent, and is lost: %1</source>
        <translation>Courriels qui n’ont pas été envoyés et sont perdus : %1</translation>
    </message>
    <message>
        <source>Drafts that are nowhere else, and are lost: %1</source>
        <translation>Brouillons qui ne sont nulle part ailleurs et sont perdus : %1</translation>
    </message>
    <message>
        <source>Changes that the server does not know of yet, and that are lost: %1</source>
        <translation>Changements que le serveur ne connaît pas encore et qui sont perdus : %1</translation>
    </message>
    <message>
        <source>The password is erased.</source>
        <translation>Le mot de passe est effacé.</translation>
    </message>
    <message>
        <source>the mail was deleted meanwhile, and was not sent</source>
        <translation>le message a été supprimé entre-temps et n’a pas été envoyé</translation>
    </message>
    <message>
        <source>Mail account</source>
        <translation>Compte de messagerie</translation>
    </message>
    <message>
        <source>show or remove what orvmail adds to the mail store&apos;s database</source>
        <translation>montre ou retire ce qu’orvmail ajoute à la base de courrier</translation>
    </message>
    <message>
        <source>The daemon puts indexes into the database, so that large accounts are quick; nothing relies on them. Where they are removed, it puts them back at its next start, unless it is started with --no-indexes (asdaemon --help tells how).</source>
        <translation>Le démon met des index dans la base, pour que les grands comptes soient rapides&#xa0;; rien n’en dépend. Une fois retirés, il les remet à son prochain démarrage, sauf s’il est lancé avec --no-indexes (asdaemon --help dit comment).</translation>
    </message>
    <message>
        <source>remove the indexes</source>
        <translation>retire les index</translation>
    </message>
    <message>
        <source>The mail store&apos;s database has no indexes of orvmail.</source>
        <translation>La base de courrier n’a pas d’index d’orvmail.</translation>
    </message>
    <message>
        <source>another program holds the mail store locked; nothing was removed</source>
        <translation>un autre programme tient la base de courrier verrouillée&#xa0;; rien n’a été retiré</translation>
    </message>
    <message>
        <source>the indexes cannot be removed: %1</source>
        <translation>les index ne peuvent pas être retirés&#xa0;: %1</translation>
    </message>
    <message>
        <source>put no indexes of its own into the mail store&apos;s database; &quot;orvmail-account store --drop-indexes&quot; removes those that are there</source>
        <translation>ne met pas d’index à lui dans la base de courrier&#xa0;; «&#xa0;orvmail-account store --drop-indexes&#xa0;» retire ceux qui y sont</translation>
    </message>
    <message>
        <source>So that large accounts are quick, it puts indexes into the mail store&apos;s database when it starts and they are missing. Nothing relies on them. For a daemon that leaves that alone, write into the file that &quot;systemctl --user edit asdaemon&quot; opens: [Service], an empty ExecStart=, and ExecStart= with its path and --no-indexes, a line each.</source>
        <translation>Pour que les grands comptes soient rapides, il met des index dans la base de courrier quand il démarre et qu’ils manquent. Rien n’en dépend. Pour un démon qui s’en abstient, écrivez dans le fichier que «&#xa0;systemctl --user edit asdaemon&#xa0;» ouvre&#xa0;: [Service], un ExecStart= vide, et ExecStart= avec son chemin et --no-indexes, chacun sur une ligne.</translation>
    </message>
    <message>
        <source>the indexes cannot be read: %1</source>
        <translation>les index ne peuvent pas être lus&#xa0;: %1</translation>
    </message>
    <message>
        <source>another program has changed this account meanwhile, and nothing was saved; &quot;orvmail-account show %1&quot; shows how it is now</source>
        <translation>un autre programme a modifié ce compte entre-temps, et rien n’a été enregistré&#xa0;; «&#xa0;orvmail-account show %1&#xa0;» montre comment il est maintenant</translation>
    </message>
</context>
</TS>
