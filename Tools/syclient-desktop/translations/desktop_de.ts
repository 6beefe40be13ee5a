<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>ActivityPage</name>
    <message>
        <source>&amp;Refresh</source>
        <translation>Aktualisie&amp;ren</translation>
    </message>
    <message>
        <source>Chart</source>
        <translation>Diagramm</translation>
    </message>
    <message>
        <source>Open the &amp;Log ...</source>
        <translation>&amp;Protokoll öffnen ...</translation>
    </message>
    <message>
        <source>What happened last</source>
        <translation>Was zuletzt geschah</translation>
    </message>
    <message>
        <source>Fetching what is new ...</source>
        <translation>Neues wird geholt ...</translation>
    </message>
    <message>
        <source>Offline: this is what the computer knows.</source>
        <translation>Offline: Dies ist, was der Rechner weiß.</translation>
    </message>
    <message>
        <source>Not up to date: %1</source>
        <translation>Nicht aktuell: %1</translation>
    </message>
    <message>
        <source>Up to date at %1</source>
        <translation>Stand %1</translation>
    </message>
    <message>
        <source>Save the Chart</source>
        <translation>Diagramm sichern</translation>
    </message>
    <message>
        <source>Saved as %1</source>
        <translation>Gesichert als %1</translation>
    </message>
    <message>
        <source>%1 cannot be written.</source>
        <translation>%1 lässt sich nicht schreiben.</translation>
    </message>
    <message>
        <source>&amp;Save ...</source>
        <translation>&amp;Sichern ...</translation>
    </message>
</context>
<context>
    <name>Charts</name>
    <message>
        <source>normal</source>
        <translation>üblich</translation>
    </message>
    <message>
        <source>above 60 %: busy</source>
        <translation>über 60 %: beschäftigt</translation>
    </message>
    <message>
        <source>above 85 %: at its limit</source>
        <translation>über 85 %: am Rand</translation>
    </message>
    <message>
        <source>CPU</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>Load of the processor (%)</source>
        <translation>Auslastung des Prozessors (%)</translation>
    </message>
    <message>
        <source>Memory</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Memory that the server uses (MB)</source>
        <translation>Speicher, den der Server braucht (MB)</translation>
    </message>
    <message>
        <source>Server actions</source>
        <translation>Anfragen an den Server</translation>
    </message>
    <message>
        <source>Requests in each minute</source>
        <translation>Anfragen je Minute</translation>
    </message>
    <message>
        <source>Data transferred</source>
        <translation>Übertragene Daten</translation>
    </message>
    <message>
        <source>Data in each minute (KB)</source>
        <translation>Daten je Minute (KB)</translation>
    </message>
    <message>
        <source>Longest transaction</source>
        <translation>Längste Anfrage</translation>
    </message>
    <message>
        <source>Longest request in a minute (s)</source>
        <translation>Längste Anfrage einer Minute (s)</translation>
    </message>
    <message>
        <source>Now</source>
        <translation>Jetzt</translation>
    </message>
    <message>
        <source>Activity</source>
        <translation>Aktivität</translation>
    </message>
    <message>
        <source>Lines</source>
        <translation>Zeilen</translation>
    </message>
    <message>
        <source>Shares of actions</source>
        <translation>Anteile der Vorgänge</translation>
    </message>
    <message>
        <source>Shares of users</source>
        <translation>Anteile der Benutzer</translation>
    </message>
    <message>
        <source>Data by project</source>
        <translation>Daten je Projekt</translation>
    </message>
    <message>
        <source>%1 to %2, time of this computer</source>
        <translation>%1 bis %2, Zeit dieses Rechners</translation>
    </message>
    <message>
        <source>last %1, mean %2, highest %3</source>
        <translation>zuletzt %1, im Mittel %2, höchstens %3</translation>
    </message>
    <message>
        <source>%1 lines in %2 weeks, at most %3 in one</source>
        <translation>%1 Zeilen in %2 Wochen, höchstens %3 in einer</translation>
    </message>
    <message>
        <source>%1 lines in %2 days, at most %3 in one</source>
        <translation>%1 Zeilen in %2 Tagen, höchstens %3 an einem</translation>
    </message>
    <message>
        <source>Lines in each week</source>
        <translation>Zeilen je Woche</translation>
    </message>
    <message>
        <source>Lines in each day</source>
        <translation>Zeilen je Tag</translation>
    </message>
    <message>
        <source>Data that members sent and fetched (MB)</source>
        <translation>Daten, die Mitglieder sandten und holten (MB)</translation>
    </message>
    <message>
        <source>%1: nothing is known yet; fetch the log of a server first</source>
        <translation>%1: noch nichts bekannt; holen Sie erst das Protokoll eines Servers</translation>
    </message>
    <message>
        <source>Others</source>
        <translation>Andere</translation>
    </message>
</context>
<context>
    <name>ComposeWindow</name>
    <message>
        <source>New Mail</source>
        <translation>Neue Nachricht</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Weiterleiten</translation>
    </message>
    <message>
        <source>Give</source>
        <translation>Überlassen</translation>
    </message>
    <message>
        <source>Deny</source>
        <translation>Ablehnen</translation>
    </message>
    <message>
        <source>Withdraw the Request</source>
        <translation>Anfrage zurückziehen</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>Antworten</translation>
    </message>
    <message>
        <source>&amp;Send</source>
        <translation>&amp;Senden</translation>
    </message>
    <message>
        <source>Names of members, separated by a semicolon</source>
        <translation>Namen von Mitgliedern, durch Semikolon getrennt</translation>
    </message>
    <message>
        <source>&amp;To:</source>
        <translation>&amp;An:</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Mitteilung</translation>
    </message>
    <message>
        <source>Request for ownership</source>
        <translation>Anfrage nach Besitz</translation>
    </message>
    <message>
        <source>Low</source>
        <translation>Niedrig</translation>
    </message>
    <message>
        <source>Medium</source>
        <translation>Mittel</translation>
    </message>
    <message>
        <source>High</source>
        <translation>Hoch</translation>
    </message>
    <message>
        <source>&amp;Importance:</source>
        <translation>&amp;Wichtigkeit:</translation>
    </message>
    <message>
        <source>&amp;Kind:</source>
        <translation>A&amp;rt:</translation>
    </message>
    <message>
        <source>Text of the mail</source>
        <translation>Text der Nachricht</translation>
    </message>
    <message>
        <source>Ctrl+Return sends.</source>
        <translation>Strg+Eingabe sendet.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>The forwarded text follows yours.</source>
        <translation>Der weitergeleitete Text folgt dem Ihren.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no member of this project, or more than one.</source>
        <translation>„%1“ ist kein Mitglied dieses Projekts oder mehr als eines.</translation>
    </message>
    <message>
        <source>These are no members of this project: %1</source>
        <translation>Dies sind keine Mitglieder des Projekts: %1</translation>
    </message>
    <message>
        <source>The mail was not sent: %1</source>
        <translation>Die Nachricht wurde nicht gesendet: %1</translation>
    </message>
    <message>
        <source>What becomes of the mail that you have begun?</source>
        <translation>Was soll aus der begonnenen Nachricht werden?</translation>
    </message>
    <message>
        <source>Keep as Draft</source>
        <translation>Als Entwurf behalten</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Verwerfen</translation>
    </message>
    <message>
        <source>The draft cannot be kept: %1</source>
        <translation>Der Entwurf lässt sich nicht aufheben: %1</translation>
    </message>
</context>
<context>
    <name>MailPage</name>
    <message>
        <source>Waiting for me</source>
        <translation>Wartet auf mich</translation>
    </message>
    <message>
        <source>Inbox</source>
        <translation>Eingang</translation>
    </message>
    <message>
        <source>Sent</source>
        <translation>Gesendet</translation>
    </message>
    <message>
        <source>History</source>
        <translation>Erledigt</translation>
    </message>
    <message>
        <source>Outbox</source>
        <translation>Ausgang</translation>
    </message>
    <message>
        <source>Newest first</source>
        <translation>Neueste zuerst</translation>
    </message>
    <message>
        <source>Oldest first</source>
        <translation>Älteste zuerst</translation>
    </message>
    <message>
        <source>By sender</source>
        <translation>Nach Absender</translation>
    </message>
    <message>
        <source>By importance</source>
        <translation>Nach Wichtigkeit</translation>
    </message>
    <message>
        <source>By text</source>
        <translation>Nach Text</translation>
    </message>
    <message>
        <source>Mails</source>
        <translation>Nachrichten</translation>
    </message>
    <message>
        <source>Views of the mails</source>
        <translation>Ansichten der Nachrichten</translation>
    </message>
    <message>
        <source>Search mails, people, text (Ctrl+F)</source>
        <translation>Nachrichten, Personen, Text suchen (Strg+F)</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suche</translation>
    </message>
    <message>
        <source>Order of the mails</source>
        <translation>Reihenfolge der Nachrichten</translation>
    </message>
    <message>
        <source>Searching ...</source>
        <translation>Suche läuft ...</translation>
    </message>
    <message>
        <source>Nothing is here.</source>
        <translation>Hier ist nichts.</translation>
    </message>
    <message>
        <source>No mail has these words.</source>
        <translation>Keine Nachricht enthält diese Wörter.</translation>
    </message>
    <message>
        <source>The mail is in the outbox.</source>
        <translation>Die Nachricht liegt im Ausgang.</translation>
    </message>
    <message>
        <source>Given. The answer is in the outbox.</source>
        <translation>Überlassen. Die Antwort liegt im Ausgang.</translation>
    </message>
    <message>
        <source>The answer is in the outbox.</source>
        <translation>Die Antwort liegt im Ausgang.</translation>
    </message>
    <message>
        <source>This mail was not sent yet. Delete it all the same?</source>
        <translation>Diese Nachricht wurde noch nicht gesendet. Trotzdem löschen?</translation>
    </message>
    <message>
        <source>Delete this mail on this computer and on the server?</source>
        <translation>Diese Nachricht auf diesem Rechner und auf dem Server löschen?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>MailReader</name>
    <message>
        <source>No mail is selected.</source>
        <translation>Keine Nachricht ausgewählt.</translation>
    </message>
    <message>
        <source>Text of the mail</source>
        <translation>Text der Nachricht</translation>
    </message>
    <message>
        <source>to %1</source>
        <translation>an %1</translation>
    </message>
    <message>
        <source>history</source>
        <translation>erledigt</translation>
    </message>
    <message>
        <source>You are asked for ownership.</source>
        <translation>Sie werden um Besitz gebeten.</translation>
    </message>
    <message>
        <source>You wait for the answer.</source>
        <translation>Sie warten auf die Antwort.</translation>
    </message>
    <message>
        <source>&amp;Give</source>
        <translation>Ü&amp;berlassen</translation>
    </message>
    <message>
        <source>Give with a &amp;Note ...</source>
        <translation>Mit &amp;Notiz überlassen ...</translation>
    </message>
    <message>
        <source>&amp;Deny ...</source>
        <translation>Ab&amp;lehnen ...</translation>
    </message>
    <message>
        <source>&amp;Withdraw</source>
        <translation>&amp;Zurückziehen</translation>
    </message>
    <message>
        <source>&amp;Reply ...</source>
        <translation>Ant&amp;worten ...</translation>
    </message>
    <message>
        <source>&amp;Forward ...</source>
        <translation>Weiter&amp;leiten ...</translation>
    </message>
    <message>
        <source>&amp;Done</source>
        <translation>&amp;Erledigt</translation>
    </message>
    <message>
        <source>De&amp;lete</source>
        <translation>&amp;Löschen</translation>
    </message>
</context>
<context>
    <name>MailRows</name>
    <message>
        <source>Important</source>
        <translation>Wichtig</translation>
    </message>
</context>
<context>
    <name>MailTexts</name>
    <message>
        <source>Request</source>
        <translation>Anfrage</translation>
    </message>
    <message>
        <source>Accepted</source>
        <translation>Überlassen</translation>
    </message>
    <message>
        <source>Denied</source>
        <translation>Abgelehnt</translation>
    </message>
    <message>
        <source>Withdrawn</source>
        <translation>Zurückgezogen</translation>
    </message>
    <message>
        <source>high importance</source>
        <translation>hohe Wichtigkeit</translation>
    </message>
    <message>
        <source>medium importance</source>
        <translation>mittlere Wichtigkeit</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Shared Projects</source>
        <translation>Gemeinsame Projekte</translation>
    </message>
    <message>
        <source>&amp;Project</source>
        <translation>&amp;Projekt</translation>
    </message>
    <message>
        <source>&amp;Close Project</source>
        <translation>Projekt s&amp;chließen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Mail</source>
        <translation>&amp;Nachrichten</translation>
    </message>
    <message>
        <source>&amp;Write ...</source>
        <translation>&amp;Schreiben ...</translation>
    </message>
    <message>
        <source>&amp;Reply ...</source>
        <translation>Ant&amp;worten ...</translation>
    </message>
    <message>
        <source>&amp;Forward ...</source>
        <translation>Weiter&amp;leiten ...</translation>
    </message>
    <message>
        <source>&amp;Give</source>
        <translation>Ü&amp;berlassen</translation>
    </message>
    <message>
        <source>Give with a &amp;Note ...</source>
        <translation>Mit &amp;Notiz überlassen ...</translation>
    </message>
    <message>
        <source>&amp;Deny ...</source>
        <translation>Ab&amp;lehnen ...</translation>
    </message>
    <message>
        <source>De&amp;lete</source>
        <translation>&amp;Löschen</translation>
    </message>
    <message>
        <source>&amp;Search</source>
        <translation>&amp;Suchen</translation>
    </message>
    <message>
        <source>Send what &amp;Waits</source>
        <translation>&amp;Wartendes senden</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Activity</source>
        <translation>&amp;Aktivität</translation>
    </message>
    <message>
        <source>&amp;Statistics</source>
        <translation>&amp;Statistik</translation>
    </message>
    <message>
        <source>S&amp;ettings</source>
        <translation>&amp;Einstellungen</translation>
    </message>
    <message>
        <source>&amp;Connection</source>
        <translation>&amp;Verbindung</translation>
    </message>
    <message>
        <source>Work &amp;Offline or Online</source>
        <translation>&amp;Offline oder online arbeiten</translation>
    </message>
    <message>
        <source>&amp;Try Now</source>
        <translation>&amp;Jetzt versuchen</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>Ü&amp;ber</translation>
    </message>
    <message>
        <source>syclient-desktop %1
Shared design projects in a window.</source>
        <translation>syclient-desktop %1
Gemeinsame Entwurfsprojekte in einem Fenster.</translation>
    </message>
    <message>
        <source>Opening %1 ...</source>
        <translation>%1 wird geöffnet ...</translation>
    </message>
    <message>
        <source>Closed here; the server&apos;s session is still open. %1</source>
        <translation>Hier geschlossen; die Sitzung am Server ist noch offen. %1</translation>
    </message>
    <message numerus="yes">
        <source>%n new mail(s) from %1</source>
        <translation>
            <numerusform>%n neue Nachricht von %1</numerusform>
            <numerusform>%n neue Nachrichten von %1</numerusform>
        </translation>
    </message>
    <message>
        <source>Your session in this project ended elsewhere.</source>
        <translation>Ihre Sitzung in diesem Projekt wurde anderswo beendet.</translation>
    </message>
    <message>
        <source>What you have not sent yet is still here. Begin a new session?</source>
        <translation>Was Sie noch nicht gesendet haben, ist noch da. Neue Sitzung beginnen?</translation>
    </message>
    <message>
        <source>New Session</source>
        <translation>Neue Sitzung</translation>
    </message>
    <message>
        <source>Not Now</source>
        <translation>Jetzt nicht</translation>
    </message>
</context>
<context>
    <name>MembersPane</name>
    <message>
        <source>Members of the project</source>
        <translation>Mitglieder des Projekts</translation>
    </message>
    <message>
        <source>Working now</source>
        <translation>Arbeitet gerade</translation>
    </message>
    <message>
        <source>Present</source>
        <translation>Anwesend</translation>
    </message>
    <message>
        <source>Away</source>
        <translation>Abwesend</translation>
    </message>
    <message>
        <source>&amp;Write to ...</source>
        <translation>&amp;Schreiben an ...</translation>
    </message>
    <message>
        <source>Ask for &amp;Ownership ...</source>
        <translation>Um &amp;Besitz bitten ...</translation>
    </message>
    <message>
        <source>Presence not known</source>
        <translation>Anwesenheit unbekannt</translation>
    </message>
    <message>
        <source>&amp;Role</source>
        <translation>&amp;Rolle</translation>
    </message>
    <message>
        <source>%1 is %2 now.</source>
        <translation>%1 ist jetzt %2.</translation>
    </message>
    <message>
        <source>&amp;End the Session ...</source>
        <translation>Sitzung be&amp;enden ...</translation>
    </message>
    <message>
        <source>&amp;Take out of the Project ...</source>
        <translation>Aus dem Projekt &amp;nehmen ...</translation>
    </message>
    <message>
        <source>End the session of %1?</source>
        <translation>Sitzung von %1 beenden?</translation>
    </message>
    <message>
        <source>It began %1.</source>
        <translation>Sie begann %1.</translation>
    </message>
    <message>
        <source>It is on %1.</source>
        <translation>Sie läuft auf %1.</translation>
    </message>
    <message>
        <source>What is not sent yet stays on that computer.</source>
        <translation>Ungesendetes bleibt auf jenem Rechner.</translation>
    </message>
    <message>
        <source>End Session ...</source>
        <translation>Sitzung beenden ...</translation>
    </message>
    <message>
        <source>End Session</source>
        <translation>Sitzung beenden</translation>
    </message>
    <message>
        <source>The &amp;reason, which the member is told:</source>
        <translation>Der &amp;Grund, den das Mitglied erfährt:</translation>
    </message>
    <message>
        <source>The session of %1 is ended.</source>
        <translation>Die Sitzung von %1 ist beendet.</translation>
    </message>
    <message>
        <source>Take %1 out of &quot;%2&quot;?</source>
        <translation>%1 aus „%2“ nehmen?</translation>
    </message>
    <message>
        <source>A session that is open there ends.</source>
        <translation>Eine offene Sitzung darin endet.</translation>
    </message>
    <message>
        <source>Take Out ...</source>
        <translation>Herausnehmen ...</translation>
    </message>
    <message>
        <source>%1 loses all mails in this project.</source>
        <translation>%1 verliert alle Nachrichten in diesem Projekt.</translation>
    </message>
    <message>
        <source>Nobody can bring them back.</source>
        <translation>Niemand kann sie zurückholen.</translation>
    </message>
    <message>
        <source>Take Out for Good</source>
        <translation>Endgültig herausnehmen</translation>
    </message>
    <message>
        <source>%1 is no member any more.</source>
        <translation>%1 ist kein Mitglied mehr.</translation>
    </message>
</context>
<context>
    <name>PasswordDialog</name>
    <message>
        <source>&amp;Remember it on this computer</source>
        <translation>Auf diesem Rechner &amp;merken</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Server:</source>
        <translation>Server:</translation>
    </message>
    <message>
        <source>User:</source>
        <translation>Benutzer:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Passwort:</translation>
    </message>
</context>
<context>
    <name>ProjectOpener</name>
    <message>
        <source>You chose to work offline.</source>
        <translation>Sie haben gewählt, offline zu arbeiten.</translation>
    </message>
    <message>
        <source>%1: %2 ...</source>
        <translation>%1: %2 ...</translation>
    </message>
    <message>
        <source>Take the session over? Whoever works there can send nothing any more.</source>
        <translation>Sitzung übernehmen? Wer dort arbeitet, kann dann nichts mehr senden.</translation>
    </message>
    <message>
        <source>Take Over</source>
        <translation>Übernehmen</translation>
    </message>
    <message>
        <source>Begin a new session?</source>
        <translation>Neue Sitzung beginnen?</translation>
    </message>
    <message>
        <source>New Session</source>
        <translation>Neue Sitzung</translation>
    </message>
    <message>
        <source>It cannot be opened without the server either: %1</source>
        <translation>Auch ohne den Server lässt es sich nicht öffnen: %1</translation>
    </message>
</context>
<context>
    <name>ProjectPage</name>
    <message>
        <source>&amp;Write ...</source>
        <translation>&amp;Schreiben ...</translation>
    </message>
    <message>
        <source>Activity</source>
        <translation>Aktivität</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Mail</source>
        <translation>Nachrichten</translation>
    </message>
    <message>
        <source>Online</source>
        <translation>Online</translation>
    </message>
    <message>
        <source>Connecting ...</source>
        <translation>Verbindung wird aufgebaut ...</translation>
    </message>
    <message>
        <source>Working offline</source>
        <translation>Offline</translation>
    </message>
    <message>
        <source>Refused by the server</source>
        <translation>Vom Server abgewiesen</translation>
    </message>
    <message>
        <source>No answer, next try in %1 s</source>
        <translation>Keine Antwort, nächster Versuch in %1 s</translation>
    </message>
    <message>
        <source>No answer, trying ...</source>
        <translation>Keine Antwort, Versuch läuft ...</translation>
    </message>
    <message>
        <source>Work &amp;Online</source>
        <translation>&amp;Online arbeiten</translation>
    </message>
    <message>
        <source>&amp;Try Now</source>
        <translation>&amp;Jetzt versuchen</translation>
    </message>
    <message>
        <source>Work &amp;Offline</source>
        <translation>&amp;Offline arbeiten</translation>
    </message>
    <message>
        <source>Last news %1</source>
        <translation>Letzte Neuigkeit %1</translation>
    </message>
    <message>
        <source>No news yet</source>
        <translation>Noch keine Neuigkeit</translation>
    </message>
    <message>
        <source>Mail %1</source>
        <translation>Mail %1</translation>
    </message>
    <message numerus="yes">
        <source>%n member(s)</source>
        <translation>
            <numerusform>%n Mitglied</numerusform>
            <numerusform>%n Mitglieder</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n mail(s)</source>
        <translation>
            <numerusform>%n Nachricht</numerusform>
            <numerusform>%n Nachrichten</numerusform>
        </translation>
    </message>
    <message>
        <source>Outbox empty</source>
        <translation>Ausgang leer</translation>
    </message>
    <message numerus="yes">
        <source>Outbox: %n mail(s) wait</source>
        <translation>
            <numerusform>Ausgang: %n Nachricht wartet</numerusform>
            <numerusform>Ausgang: %n Nachrichten warten</numerusform>
        </translation>
    </message>
    <message>
        <source>next try in %1 s</source>
        <translation>nächster Versuch in %1 s</translation>
    </message>
    <message>
        <source>sending</source>
        <translation>wird gesendet</translation>
    </message>
    <message>
        <source>Send now</source>
        <translation>Jetzt senden</translation>
    </message>
    <message>
        <source>until you work online</source>
        <translation>bis Sie online arbeiten</translation>
    </message>
</context>
<context>
    <name>ProjectSession</name>
    <message>
        <source>%1 ended your session.</source>
        <translation>%1 hat Ihre Sitzung beendet.</translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Server:</source>
        <translation>Server:</translation>
    </message>
    <message>
        <source>Signed in as:</source>
        <translation>Angemeldet als:</translation>
    </message>
    <message>
        <source>Role:</source>
        <translation>Rolle:</translation>
    </message>
    <message>
        <source>Folder on this computer:</source>
        <translation>Ordner auf diesem Rechner:</translation>
    </message>
    <message>
        <source>Room it takes:</source>
        <translation>Platzbedarf:</translation>
    </message>
    <message>
        <source>Show the &amp;Folder</source>
        <translation>&amp;Ordner zeigen</translation>
    </message>
    <message>
        <source>Tell &amp;new mails by a notice</source>
        <translation>&amp;Neue Nachrichten melden</translation>
    </message>
    <message>
        <source>Language of the system</source>
        <translation>Sprache des Systems</translation>
    </message>
    <message>
        <source>&amp;Language, from the next start on:</source>
        <translation>&amp;Sprache, ab dem nächsten Start:</translation>
    </message>
    <message>
        <source>Lea&amp;ve the Project ...</source>
        <translation>Projekt &amp;verlassen ...</translation>
    </message>
    <message>
        <source>less than 1 MiB</source>
        <translation>weniger als 1 MiB</translation>
    </message>
    <message>
        <source>%1 MiB</source>
        <translation>%1 MiB</translation>
    </message>
    <message>
        <source>Settings on the &amp;Server ...</source>
        <translation>Einstellungen auf dem &amp;Server ...</translation>
    </message>
</context>
<context>
    <name>StartPage</name>
    <message>
        <source>Shared projects</source>
        <translation>Gemeinsame Projekte</translation>
    </message>
    <message>
        <source>On this computer, %1, and on the servers you know</source>
        <translation>Auf diesem Rechner, %1, und auf den Servern, die Sie kennen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Projects</source>
        <translation>Projekte</translation>
    </message>
    <message>
        <source>No project is on this computer yet. Add a server, and join one of its projects.</source>
        <translation>Auf diesem Rechner ist noch kein Projekt. Fügen Sie einen Server hinzu und treten Sie einem seiner Projekte bei.</translation>
    </message>
    <message>
        <source>Se&amp;rvers</source>
        <translation>Se&amp;rver</translation>
    </message>
    <message>
        <source>Servers</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>&amp;Add a Server ...</source>
        <translation>Server hin&amp;zufügen ...</translation>
    </message>
    <message>
        <source>unsent work</source>
        <translation>Ungesendetes</translation>
    </message>
    <message>
        <source>never opened</source>
        <translation>nie geöffnet</translation>
    </message>
    <message>
        <source>opened %1</source>
        <translation>geöffnet %1</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>found in this network</source>
        <translation>in diesem Netz gefunden</translation>
    </message>
    <message>
        <source>signed in as %1</source>
        <translation>angemeldet als %1</translation>
    </message>
    <message numerus="yes">
        <source>%n member(s)</source>
        <translation>
            <numerusform>%n Mitglied</numerusform>
            <numerusform>%n Mitglieder</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n working now</source>
        <translation>
            <numerusform>%n arbeitet gerade</numerusform>
            <numerusform>%n arbeiten gerade</numerusform>
        </translation>
    </message>
    <message>
        <source>not a member</source>
        <translation>kein Mitglied</translation>
    </message>
    <message>
        <source>Join</source>
        <translation>Beitreten</translation>
    </message>
    <message>
        <source>On this computer</source>
        <translation>Auf diesem Rechner</translation>
    </message>
    <message>
        <source>On %1</source>
        <translation>Auf %1</translation>
    </message>
    <message>
        <source>You are no member of &quot;%1&quot;. Ask one of its managers to add you.</source>
        <translation>Sie sind kein Mitglied von „%1“. Bitten Sie einen seiner Verwalter, Sie aufzunehmen.</translation>
    </message>
    <message>
        <source>&amp;Join</source>
        <translation>&amp;Beitreten</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>&amp;Remove from this Computer ...</source>
        <translation>Von diesem Rechner &amp;entfernen ...</translation>
    </message>
    <message>
        <source>Leave &quot;%1&quot; and remove it from this computer?</source>
        <translation>„%1“ verlassen und von diesem Rechner entfernen?</translation>
    </message>
    <message>
        <source>Work that was not sent is lost. You stay a member, and the project stays on its server.</source>
        <translation>Ungesendete Arbeit geht verloren. Sie bleiben Mitglied, und das Projekt bleibt auf seinem Server.</translation>
    </message>
    <message>
        <source>You stay a member, and the project stays on its server.</source>
        <translation>Sie bleiben Mitglied, und das Projekt bleibt auf seinem Server.</translation>
    </message>
    <message>
        <source>Leave</source>
        <translation>Verlassen</translation>
    </message>
    <message>
        <source>nobody signed in yet</source>
        <translation>noch nicht angemeldet</translation>
    </message>
    <message>
        <source>S&amp;hare a Project ...</source>
        <translation>Projekt &amp;teilen ...</translation>
    </message>
</context>
<context>
    <name>Words</name>
    <message>
        <source>yesterday</source>
        <translation>gestern</translation>
    </message>
</context>
</TS>
