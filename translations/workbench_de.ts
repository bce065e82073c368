<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Workbench</name>
    <message>
        <source>The steps in &apos;%1&apos; cannot be read.</source>
        <translation>Die Schritte in „%1“ können nicht gelesen werden.</translation>
    </message>
</context>
<context>
    <name>Workbench::CertificateDialog</name>
    <message>
        <source>Is this the right machine service?</source>
        <translation>Ist das der richtige Maschinendienst?</translation>
    </message>
    <message>
        <source>%1 shows a certificate for which nobody vouches whom this computer trusts. Ask the person who runs the service for the fingerprint (SHA-256) and compare:</source>
        <translation>%1 zeigt ein Zertifikat, für das niemand bürgt, dem dieser Rechner vertraut. Erfragen Sie den Fingerabdruck (SHA-256) bei der Person, die den Dienst betreibt, und vergleichen Sie:</translation>
    </message>
    <message>
        <source>Fingerprint of the certificate</source>
        <translation>Fingerabdruck des Zertifikats</translation>
    </message>
    <message>
        <source>When you trust it, this certificate and no other counts for the address from now on. If a single character differs, somebody else may be listening: do not trust it.</source>
        <translation>Wenn Sie ihm vertrauen, gilt für diese Adresse von nun an dieses Zertifikat und kein anderes. Weicht auch nur ein Zeichen ab, hört vielleicht jemand mit: Vertrauen Sie ihm dann nicht.</translation>
    </message>
    <message>
        <source>It is the same: trust it</source>
        <translation>Es ist derselbe: vertrauen</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Jetzt nicht</translation>
    </message>
</context>
<context>
    <name>Workbench::CommandLine</name>
    <message>
        <source>Prepares platforms and sends them to machines.</source>
        <translation>Bereitet Plattformen vor und schickt sie an Maschinen.</translation>
    </message>
    <message>
        <source>Tells this.</source>
        <translation>Sagt dies.</translation>
    </message>
    <message>
        <source>Tells the version.</source>
        <translation>Sagt die Version.</translation>
    </message>
    <message>
        <source>Writes a picture of the window, once everything is drawn, and ends.</source>
        <translation>Schreibt ein Bild des Fensters, sobald alles gezeichnet ist, und endet.</translation>
    </message>
    <message>
        <source>Platforms to open and meshes to import.</source>
        <translation>Plattformen zum Öffnen und Netze zum Importieren.</translation>
    </message>
    <message>
        <source>Uses the machine service at this address instead of the one in this program; may be given several times. An address is unix:PATH or tls://HOST:PORT.</source>
        <translation>Nimmt den Maschinendienst unter dieser Adresse statt dessen in diesem Programm; mehrfach möglich. Eine Adresse ist unix:PFAD oder tls://HOST:PORT.</translation>
    </message>
    <message>
        <source>Plays the steps of a file first, one a line: attach NAME, platform, accept, command ID, open FILE, new, tab NUMBER, select NUMBER, search WORDS, cancel, close, manager, shortcuts, settings, report, language CODE, lengths UNIT, theme NAME, size WIDTHxHEIGHT, wait.</source>
        <translation>Spielt zuerst die Schritte einer Datei ab, einen je Zeile: attach NAME, platform, accept, command ID, open DATEI, new, tab NUMMER, select NUMMER, search WORTE, cancel, close, manager, shortcuts, settings, report, language KÜRZEL, lengths EINHEIT, theme NAME, size BREITExHÖHE, wait.</translation>
    </message>
</context>
<context>
    <name>Workbench::FailureBoxes</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Workbench</source>
        <translation>Werkbank</translation>
    </message>
</context>
<context>
    <name>Workbench::JobList</name>
    <message>
        <source>Running</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <source>Cancelling</source>
        <translation>Wird abgebrochen</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>Abgebrochen</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>Command</source>
        <translation>Befehl</translation>
    </message>
    <message>
        <source>Machine</source>
        <translation>Maschine</translation>
    </message>
    <message>
        <source>Scene</source>
        <translation>Szene</translation>
    </message>
    <message>
        <source>Begun</source>
        <translation>Begonnen</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Last stage</source>
        <translation>Letzter Schritt</translation>
    </message>
    <message>
        <source>Failure</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
</context>
<context>
    <name>Workbench::JobsPanel</name>
    <message>
        <source>Nothing has run yet</source>
        <translation>Noch ist nichts gelaufen</translation>
    </message>
    <message>
        <source>What a machine does for you is shown here, with its progress and a Cancel. You can go on working meanwhile.</source>
        <translation>Hier steht, was eine Maschine für Sie tut, mit Fortschritt und „Abbrechen“. Sie können unterdessen weiterarbeiten.</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Jobs since the start</source>
        <translation>Aufträge seit dem Start</translation>
    </message>
    <message>
        <source>Files of the job</source>
        <translation>Dateien des Auftrags</translation>
    </message>
    <message>
        <source>Copy details</source>
        <translation>Einzelheiten kopieren</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Show in folder</source>
        <translation>Im Ordner zeigen</translation>
    </message>
    <message>
        <source>%1 – %2</source>
        <translation>%1 – %2</translation>
    </message>
    <message>
        <source>%1 · %2</source>
        <translation>%1 · %2</translation>
    </message>
    <message>
        <source>Cancelling</source>
        <translation>Wird abgebrochen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>Workbench::Keyring</name>
    <message>
        <source>The keyring stayed locked, so the secret counts until the window is closed. Unlock the keyring, then sign in again.</source>
        <translation>Der Schlüsselbund blieb gesperrt, daher gilt das Geheimnis, bis das Fenster geschlossen wird. Entsperren Sie den Schlüsselbund und melden Sie sich erneut an.</translation>
    </message>
    <message>
        <source>There is no keyring here that could be used, so the secret counts until the window is closed.</source>
        <translation>Hier gibt es keinen Schlüsselbund, der sich verwenden ließe; daher gilt das Geheimnis, bis das Fenster geschlossen wird.</translation>
    </message>
</context>
<context>
    <name>Workbench::LayerPictures</name>
    <message>
        <source>The archive holds no layer pictures.</source>
        <translation>Das Archiv enthält keine Schichtbilder.</translation>
    </message>
    <message>
        <source>The picture of layer %1 cannot be read.</source>
        <translation>Das Bild der Schicht %1 ist nicht lesbar.</translation>
    </message>
</context>
<context>
    <name>Workbench::LengthText</name>
    <message>
        <source>in</source>
        <translation>in</translation>
    </message>
    <message>
        <source>mm</source>
        <translation>mm</translation>
    </message>
    <message>
        <source>%1 %2</source>
        <comment>length and unit</comment>
        <translation>%1 %2</translation>
    </message>
    <message>
        <source>%1 × %2 × %3 %4</source>
        <comment>three lengths and their unit</comment>
        <translation>%1 × %2 × %3 %4</translation>
    </message>
    <message>
        <source>⌀ %1 × %2 %3</source>
        <comment>diameter, height and their unit</comment>
        <translation>⌀ %1 × %2 %3</translation>
    </message>
</context>
<context>
    <name>Workbench::MachineDelegate</name>
    <message>
        <source>%1 (this scene)</source>
        <translation>%1 (diese Szene)</translation>
    </message>
</context>
<context>
    <name>Workbench::MachineFile</name>
    <message>
        <source>The machine file cannot be read.</source>
        <translation>Die Maschinendatei kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>A line of the machine file has no end.</source>
        <translation>Eine Zeile der Maschinendatei hat kein Ende.</translation>
    </message>
    <message>
        <source>The machine file has more layers than any machine makes.</source>
        <translation>Die Maschinendatei hat mehr Schichten, als irgendeine Maschine baut.</translation>
    </message>
    <message>
        <source>The file holds no move that builds anything: it is no machine file that can be shown.</source>
        <translation>Die Datei enthält keine Bewegung, die etwas baut: Sie ist keine Maschinendatei, die gezeigt werden kann.</translation>
    </message>
</context>
<context>
    <name>Workbench::MachineList</name>
    <message>
        <source>Build Processors</source>
        <translation>Build Processors</translation>
    </message>
    <message>
        <source>Machine Manager</source>
        <translation>Machine Manager</translation>
    </message>
    <message>
        <source>Service %1</source>
        <translation>Dienst %1</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>angehalten</translation>
    </message>
    <message>
        <source>starting</source>
        <translation>startet</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>needs you to sign in</source>
        <translation>verlangt eine Anmeldung</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>ausgefallen</translation>
    </message>
    <message>
        <source>%1 since %2</source>
        <translation>%1 seit %2</translation>
    </message>
    <message>
        <source>Service %1, %2, machines: %3</source>
        <translation>Dienst %1, %2, Maschinen: %3</translation>
    </message>
    <message>
        <source>Gone: its service does not offer it any more. The scene keeps it; nothing can be sent to it.</source>
        <translation>Nicht mehr da: Ihr Dienst bietet sie nicht mehr an. Die Szene behält sie; an sie kann nichts gesendet werden.</translation>
    </message>
    <message>
        <source>%1, %2 h ago</source>
        <translation>%1, vor %2 h</translation>
    </message>
    <message>
        <source>%1, %2 min ago</source>
        <translation>%1, vor %2 min</translation>
    </message>
    <message>
        <source>favourite</source>
        <translation>Favorit</translation>
    </message>
    <message>
        <source>attached to this scene</source>
        <translation>dieser Szene zugeordnet</translation>
    </message>
    <message>
        <source>Material extrusion (filament)</source>
        <translation>Materialextrusion (Filament)</translation>
    </message>
    <message>
        <source>Vat photopolymerisation (resin)</source>
        <translation>Badbasierte Photopolymerisation (Harz)</translation>
    </message>
    <message>
        <source>Powder bed fusion</source>
        <translation>Pulverbettschmelzen</translation>
    </message>
    <message>
        <source>Binder jetting</source>
        <translation>Freistrahl-Bindemittelauftrag</translation>
    </message>
    <message>
        <source>Material jetting</source>
        <translation>Freistrahl-Materialauftrag</translation>
    </message>
    <message>
        <source>Directed energy deposition</source>
        <translation>Materialauftrag mit gerichteter Energie</translation>
    </message>
    <message>
        <source>Sheet lamination</source>
        <translation>Schichtlaminierung</translation>
    </message>
    <message>
        <source>Technology not told</source>
        <translation>Verfahren nicht angegeben</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Bereit</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Beschäftigt</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Offline</source>
        <translation>Offline</translation>
    </message>
    <message>
        <source>State not told</source>
        <translation>Zustand nicht angegeben</translation>
    </message>
    <message>
        <source>size unknown</source>
        <translation>Größe unbekannt</translation>
    </message>
    <message>
        <source>Machine service %1</source>
        <translation>Maschinendienst %1</translation>
    </message>
</context>
<context>
    <name>Workbench::MachinesPanel</name>
    <message>
        <source>No machine fits</source>
        <translation>Keine Maschine passt</translation>
    </message>
    <message>
        <source>Change the words or the filter above.</source>
        <translation>Ändern Sie oben die Wörter oder den Filter.</translation>
    </message>
    <message>
        <source>No machines yet</source>
        <translation>Noch keine Maschinen</translation>
    </message>
    <message>
        <source>Machines appear here as soon as their service tells of them.</source>
        <translation>Maschinen erscheinen hier, sobald ihr Dienst sie meldet.</translation>
    </message>
    <message>
        <source>Detach</source>
        <translation>Trennen</translation>
    </message>
    <message>
        <source>Attach to the scene</source>
        <translation>Der Szene zuordnen</translation>
    </message>
    <message>
        <source>Remove from the favourites</source>
        <translation>Aus den Favoriten nehmen</translation>
    </message>
    <message>
        <source>Add to the favourites</source>
        <translation>Zu den Favoriten</translation>
    </message>
    <message>
        <source>Search machines</source>
        <translation>Maschinen suchen</translation>
    </message>
    <message>
        <source>All machines</source>
        <translation>Alle Maschinen</translation>
    </message>
    <message>
        <source>Favourites</source>
        <translation>Favoriten</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Bereit</translation>
    </message>
    <message>
        <source>Filament</source>
        <translation>Filament</translation>
    </message>
    <message>
        <source>Resin</source>
        <translation>Harz</translation>
    </message>
    <message>
        <source>Which machines are shown</source>
        <translation>Welche Maschinen gezeigt werden</translation>
    </message>
    <message>
        <source>Show all</source>
        <translation>Alle zeigen</translation>
    </message>
    <message>
        <source>Also machines without a build volume and templates, which are left out otherwise.</source>
        <translation>Auch Maschinen ohne Bauraum und Vorlagen, die sonst weggelassen werden.</translation>
    </message>
    <message>
        <source>Machines</source>
        <translation>Maschinen</translation>
    </message>
    <message>
        <source>The scene is prepared for this machine (Enter, or drag it onto the plate).</source>
        <translation>Die Szene wird für diese Maschine vorbereitet (Eingabetaste, oder auf die Platte ziehen).</translation>
    </message>
</context>
<context>
    <name>Workbench::MainActions</name>
    <message>
        <source>&amp;New scene</source>
        <translation>&amp;Neue Szene</translation>
    </message>
    <message>
        <source>&amp;Open…</source>
        <translation>Ö&amp;ffnen…</translation>
    </message>
    <message>
        <source>&amp;Import parts…</source>
        <translation>Teile &amp;importieren…</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Save &amp;as…</source>
        <translation>Speichern &amp;unter…</translation>
    </message>
    <message>
        <source>Copy of this s&amp;cene</source>
        <translation>&amp;Kopie dieser Szene</translation>
    </message>
    <message>
        <source>C&amp;lose scene</source>
        <translation>Szene s&amp;chließen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederherstellen</translation>
    </message>
    <message>
        <source>&amp;Find a machine</source>
        <translation>Maschine &amp;finden</translation>
    </message>
    <message>
        <source>New &amp;platform…</source>
        <translation>Neue &amp;Plattform…</translation>
    </message>
    <message>
        <source>&amp;Detach the machine</source>
        <translation>Maschine &amp;trennen</translation>
    </message>
    <message>
        <source>&amp;Cancel the running job</source>
        <translation>Laufenden Auftrag &amp;abbrechen</translation>
    </message>
    <message>
        <source>&amp;Keyboard shortcuts</source>
        <translation>&amp;Tastenkürzel</translation>
    </message>
    <message>
        <source>&amp;About the workbench</source>
        <translation>Ü&amp;ber die Werkbank</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Machine</source>
        <translation>&amp;Maschine</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Recent files</source>
        <translation>&amp;Zuletzt benutzt</translation>
    </message>
    <message>
        <source>&amp;Panels</source>
        <translation>&amp;Bereiche</translation>
    </message>
    <message>
        <source>&amp;Colours</source>
        <translation>&amp;Farben</translation>
    </message>
    <message>
        <source>&amp;Language</source>
        <translation>&amp;Sprache</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>Wie der Desktop</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <source>Clear this list</source>
        <translation>Diese Liste leeren</translation>
    </message>
    <message>
        <source>&amp;Undo: %1</source>
        <translation>&amp;Rückgängig: %1</translation>
    </message>
    <message>
        <source>&amp;Redo: %1</source>
        <translation>&amp;Wiederherstellen: %1</translation>
    </message>
    <message>
        <source>&amp;Settings…</source>
        <translation>&amp;Einstellungen…</translation>
    </message>
    <message>
        <source>Save a &amp;report for support…</source>
        <translation>Bericht für den &amp;Support speichern…</translation>
    </message>
    <message>
        <source>&amp;Use the Machine Manager</source>
        <translation>Machine Manager &amp;benutzen</translation>
    </message>
</context>
<context>
    <name>Workbench::MainWindow</name>
    <message>
        <source>Begin with your parts</source>
        <translation>Beginnen Sie mit Ihren Teilen</translation>
    </message>
    <message>
        <source>Drop mesh files (%1) or a platform (.TavAMX) here, then choose a machine on the left.</source>
        <translation>Ziehen Sie Netzdateien (%1) oder eine Plattform (.TavAMX) hierher und wählen Sie dann links eine Maschine.</translation>
    </message>
    <message>
        <source>Open a platform…</source>
        <translation>Plattform öffnen…</translation>
    </message>
    <message>
        <source>Import parts…</source>
        <translation>Teile importieren…</translation>
    </message>
    <message>
        <source>Machines</source>
        <translation>Maschinen</translation>
    </message>
    <message>
        <source>Parts</source>
        <translation>Teile</translation>
    </message>
    <message>
        <source>Jobs</source>
        <translation>Aufträge</translation>
    </message>
    <message>
        <source>Open scenes</source>
        <translation>Offene Szenen</translation>
    </message>
    <message>
        <source>%1 *</source>
        <translation>%1 *</translation>
    </message>
    <message>
        <source>%1 (not saved)</source>
        <translation>%1 (nicht gespeichert)</translation>
    </message>
    <message>
        <source>The machine</source>
        <translation>Die Maschine</translation>
    </message>
    <message>
        <source>Workbench</source>
        <translation>Werkbank</translation>
    </message>
    <message>
        <source>%1[*] – %2</source>
        <translation>%1[*] – %2</translation>
    </message>
    <message>
        <source>Parts: %1</source>
        <translation>Teile: %1</translation>
    </message>
    <message>
        <source>Machine of &apos;%1&apos;</source>
        <translation>Maschine von „%1“</translation>
    </message>
    <message>
        <source>inches</source>
        <translation>Zoll</translation>
    </message>
    <message>
        <source>metres</source>
        <translation>Meter</translation>
    </message>
    <message>
        <source>centimetres</source>
        <translation>Zentimeter</translation>
    </message>
    <message>
        <source>millimetres</source>
        <translation>Millimeter</translation>
    </message>
    <message>
        <source>micrometres</source>
        <translation>Mikrometer</translation>
    </message>
    <message>
        <source>Platforms (*.TavAMX)</source>
        <translation>Plattformen (*.TavAMX)</translation>
    </message>
    <message>
        <source>Import parts</source>
        <translation>Teile importieren</translation>
    </message>
    <message>
        <source>Meshes (%1)</source>
        <translation>Netze (%1)</translation>
    </message>
    <message>
        <source>Workbench %1: from parts to a machine file.</source>
        <translation>Werkbank %1: von Teilen zur Maschinendatei.</translation>
    </message>
    <message>
        <source>Parts imported: %1</source>
        <translation>Importierte Teile: %1</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Unit of &apos;%1&apos;</source>
        <translation>Einheit von „%1“</translation>
    </message>
    <message>
        <source>The file names no unit, and millimetres are not plausible. In which unit are its lengths?</source>
        <translation>Die Datei nennt keine Einheit, und Millimeter sind nicht plausibel. In welcher Einheit sind ihre Längen?</translation>
    </message>
    <message>
        <source>Too large for the machine</source>
        <translation>Zu groß für die Maschine</translation>
    </message>
    <message>
        <source>Not all parts fit into the build volume. Scale all imported parts to %1 %?</source>
        <translation>Nicht alle Teile passen in den Bauraum. Alle importierten Teile auf %1 % skalieren?</translation>
    </message>
    <message>
        <source>Scale</source>
        <translation>Skalieren</translation>
    </message>
    <message>
        <source>Keep their size</source>
        <translation>Größe behalten</translation>
    </message>
    <message>
        <source>Recover scenes</source>
        <translation>Szenen wiederherstellen</translation>
    </message>
    <message>
        <source>The workbench did not end in order. These scenes were kept: %1.</source>
        <translation>Die Werkbank wurde nicht ordentlich beendet. Diese Szenen wurden aufgehoben: %1.</translation>
    </message>
    <message>
        <source>Recover</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Verwerfen</translation>
    </message>
    <message>
        <source>Ask again at the next start</source>
        <translation>Beim nächsten Start wieder fragen</translation>
    </message>
    <message>
        <source>Save the platform</source>
        <translation>Plattform speichern</translation>
    </message>
    <message>
        <source>Not saved</source>
        <translation>Nicht gespeichert</translation>
    </message>
    <message>
        <source>&apos;%1&apos; has changes that are not saved.</source>
        <translation>„%1“ hat Änderungen, die nicht gespeichert sind.</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Do not save</source>
        <translation>Nicht speichern</translation>
    </message>
    <message>
        <source>Stay</source>
        <translation>Bleiben</translation>
    </message>
    <message>
        <source>A job is running</source>
        <translation>Ein Auftrag läuft</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is still running.</source>
        <translation>„%1“ läuft noch.</translation>
    </message>
    <message>
        <source>Finish, then close</source>
        <translation>Beenden lassen, dann schließen</translation>
    </message>
    <message>
        <source>Stop and close</source>
        <translation>Abbrechen und schließen</translation>
    </message>
    <message>
        <source>Ask what the machine offers</source>
        <translation>Angebot der Maschine erfragen</translation>
    </message>
    <message>
        <source>The machine offers no platform.</source>
        <translation>Die Maschine bietet keine Plattform an.</translation>
    </message>
    <message>
        <source>The scene was closed.</source>
        <translation>Die Szene wurde geschlossen.</translation>
    </message>
    <message>
        <source>Make a platform</source>
        <translation>Plattform anlegen</translation>
    </message>
    <message>
        <source>The machine gave no platform.</source>
        <translation>Die Maschine hat keine Plattform geliefert.</translation>
    </message>
    <message>
        <source>No parts yet</source>
        <translation>Noch keine Teile</translation>
    </message>
    <message>
        <source>The parts of the scene, their places and their problems are shown here.</source>
        <translation>Hier stehen die Teile der Szene, ihre Plätze und ihre Probleme.</translation>
    </message>
    <message>
        <source>Open a platform or a machine file</source>
        <translation>Plattform oder Maschinendatei öffnen</translation>
    </message>
    <message>
        <source>Platforms (*.TavAMX);;Machine files (*.gcode *.gco *.g *.nc *.sl1 *.sl1s)</source>
        <translation>Plattformen (*.TavAMX);;Maschinendateien (*.gcode *.gco *.g *.nc *.sl1 *.sl1s)</translation>
    </message>
    <message>
        <source>%1 – layers</source>
        <translation>%1 – Schichten</translation>
    </message>
    <message>
        <source>The printer &apos;%1&apos; was added to your machines.</source>
        <translation>Der Drucker „%1“ wurde zu Ihren Maschinen hinzugefügt.</translation>
    </message>
    <message>
        <source>%1 of &apos;%2&apos;</source>
        <translation>%1 von „%2“</translation>
    </message>
    <message>
        <source>My jobs</source>
        <translation>Meine Aufträge</translation>
    </message>
    <message>
        <source>The Machine Manager cannot be started: this program has none. Use another machine.</source>
        <translation>Der Machine Manager kann nicht gestartet werden: Dieses Programm hat keinen. Benutzen Sie eine andere Maschine.</translation>
    </message>
    <message>
        <source>The Machine Manager did not start. Try it again.</source>
        <translation>Der Machine Manager ist nicht gestartet. Versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; was saved.</source>
        <translation>&apos;%1&apos; wurde gespeichert.</translation>
    </message>
    <message>
        <source>The page of the job cannot be opened: no browser took its address. Set a browser as the desktop&apos;s own.</source>
        <translation>Die Seite des Auftrags kann nicht geöffnet werden: Kein Browser nahm ihre Adresse. Legen Sie in der Arbeitsumgebung einen Browser fest.</translation>
    </message>
    <message>
        <source>Save the machine file</source>
        <translation>Maschinendatei speichern</translation>
    </message>
    <message>
        <source>The Machine Manager is being started.</source>
        <translation>Der Machine Manager wird gestartet.</translation>
    </message>
    <message>
        <source>Sign in…</source>
        <translation>Anmelden…</translation>
    </message>
    <message>
        <source>Sign out</source>
        <translation>Abmelden</translation>
    </message>
    <message>
        <source>Compare its certificate…</source>
        <translation>Zertifikat vergleichen…</translation>
    </message>
</context>
<context>
    <name>Workbench::MoveStyle</name>
    <message>
        <source>Outer wall</source>
        <translation>Außenwand</translation>
    </message>
    <message>
        <source>Inner wall</source>
        <translation>Innenwand</translation>
    </message>
    <message>
        <source>Overhang</source>
        <translation>Überhang</translation>
    </message>
    <message>
        <source>Infill</source>
        <translation>Füllung</translation>
    </message>
    <message>
        <source>Solid infill</source>
        <translation>Massive Füllung</translation>
    </message>
    <message>
        <source>Top surface</source>
        <translation>Deckfläche</translation>
    </message>
    <message>
        <source>Bridge</source>
        <translation>Brücke</translation>
    </message>
    <message>
        <source>Gap fill</source>
        <translation>Lückenfüllung</translation>
    </message>
    <message>
        <source>Skirt and brim</source>
        <translation>Schürze und Rand</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Stütze</translation>
    </message>
    <message>
        <source>Support interface</source>
        <translation>Stützschicht am Teil</translation>
    </message>
    <message>
        <source>Prime tower</source>
        <translation>Reinigungsturm</translation>
    </message>
    <message>
        <source>Other</source>
        <translation>Sonstiges</translation>
    </message>
    <message>
        <source>Travel</source>
        <translation>Leerfahrt</translation>
    </message>
</context>
<context>
    <name>Workbench::NewPlatformDialog</name>
    <message>
        <source>New platform for %1</source>
        <translation>Neue Plattform für %1</translation>
    </message>
    <message>
        <source>Materials: %1</source>
        <translation>Materialien: %1</translation>
    </message>
    <message>
        <source>Why the platform was not made</source>
        <translation>Warum die Plattform nicht angelegt wurde</translation>
    </message>
    <message>
        <source>Create platform</source>
        <translation>Plattform anlegen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Please choose</source>
        <translation>Bitte wählen</translation>
    </message>
    <message>
        <source>No choice</source>
        <translation>Keine Wahl</translation>
    </message>
    <message>
        <source>%1 (default)</source>
        <translation>%1 (Vorgabe)</translation>
    </message>
    <message>
        <source>%1 *</source>
        <translation>%1 *</translation>
    </message>
    <message>
        <source>%1, required</source>
        <translation>%1, erforderlich</translation>
    </message>
    <message>
        <source>* has to be chosen</source>
        <translation>* muss gewählt werden</translation>
    </message>
    <message>
        <source>Keep them on the new platform</source>
        <translation>Auf der neuen Plattform behalten</translation>
    </message>
    <message>
        <source>Remove them (can be undone)</source>
        <translation>Entfernen (kann rückgängig gemacht werden)</translation>
    </message>
    <message>
        <source>Leave this scene, make a new one</source>
        <translation>Diese Szene lassen, eine neue anlegen</translation>
    </message>
    <message>
        <source>What becomes of the parts of this scene</source>
        <translation>Was mit den Teilen dieser Szene geschieht</translation>
    </message>
    <message>
        <source>Parts of this scene: %1</source>
        <translation>Teile dieser Szene: %1</translation>
    </message>
    <message>
        <source>Please choose: %1.</source>
        <translation>Bitte wählen Sie: %1.</translation>
    </message>
</context>
<context>
    <name>Workbench::NumbersPanel</name>
    <message>
        <source>Position X</source>
        <translation>Position X</translation>
    </message>
    <message>
        <source>Position Y</source>
        <translation>Position Y</translation>
    </message>
    <message>
        <source>Height above the plate</source>
        <translation>Höhe über der Platte</translation>
    </message>
    <message>
        <source>Rotation about Z</source>
        <translation>Drehung um Z</translation>
    </message>
    <message>
        <source>Scale</source>
        <translation>Skalieren</translation>
    </message>
    <message>
        <source>Width</source>
        <translation>Breite</translation>
    </message>
    <message>
        <source>Depth</source>
        <translation>Tiefe</translation>
    </message>
    <message>
        <source>Height</source>
        <translation>Höhe</translation>
    </message>
    <message>
        <source>°</source>
        <translation>°</translation>
    </message>
    <message>
        <source> %</source>
        <translation> %</translation>
    </message>
    <message>
        <source>Nothing is selected.</source>
        <translation>Nichts ist ausgewählt.</translation>
    </message>
    <message numerus="yes">
        <source>%n parts</source>
        <translation>
            <numerusform>%n Teil</numerusform>
            <numerusform>%n Teile</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Workbench::PartEdits</name>
    <message>
        <source>Move</source>
        <translation>Verschieben</translation>
    </message>
    <message>
        <source>Rotate</source>
        <translation>Drehen</translation>
    </message>
    <message>
        <source>Scale</source>
        <translation>Skalieren</translation>
    </message>
    <message>
        <source>Drop to plate</source>
        <translation>Auf die Platte setzen</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Verdoppeln</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Arrange</source>
        <translation>Anordnen</translation>
    </message>
</context>
<context>
    <name>Workbench::PartsPanel</name>
    <message>
        <source>Parts of the scene</source>
        <translation>Teile der Szene</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>Workbench::PlateInteraction</name>
    <message>
        <source>%1°</source>
        <translation>%1°</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>Workbench::PlateOverlay</name>
    <message>
        <source>No printer: the plate is only something to look at</source>
        <translation>Kein Drucker: Die Platte ist nur zum Ansehen da</translation>
    </message>
    <message>
        <source>Drop mesh files here (%1)</source>
        <translation>Netzdateien hierher ziehen (%1)</translation>
    </message>
    <message numerus="yes">
        <source>%n selected: %1</source>
        <translation>
            <numerusform>%n ausgewählt: %1</numerusform>
            <numerusform>%n ausgewählt: %1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Workbench::PlateView</name>
    <message>
        <source>Duplicate</source>
        <translation>Verdoppeln</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Drop to plate</source>
        <translation>Auf die Platte setzen</translation>
    </message>
    <message>
        <source>Turn left by 45°</source>
        <translation>Um 45° nach links drehen</translation>
    </message>
    <message>
        <source>Turn right by 45°</source>
        <translation>Um 45° nach rechts drehen</translation>
    </message>
    <message>
        <source>Select all</source>
        <translation>Alles auswählen</translation>
    </message>
    <message>
        <source>Zoom to selection</source>
        <translation>Auswahl einpassen</translation>
    </message>
    <message>
        <source>Zoom to plate</source>
        <translation>Platte einpassen</translation>
    </message>
    <message>
        <source>Zoom in</source>
        <translation>Vergrößern</translation>
    </message>
    <message>
        <source>Zoom out</source>
        <translation>Verkleinern</translation>
    </message>
    <message>
        <source>View in perspective</source>
        <translation>Ansicht in Perspektive</translation>
    </message>
    <message>
        <source>View from the front</source>
        <translation>Ansicht von vorn</translation>
    </message>
    <message>
        <source>View from the back</source>
        <translation>Ansicht von hinten</translation>
    </message>
    <message>
        <source>View from the left</source>
        <translation>Ansicht von links</translation>
    </message>
    <message>
        <source>View from the right</source>
        <translation>Ansicht von rechts</translation>
    </message>
    <message>
        <source>View from above</source>
        <translation>Ansicht von oben</translation>
    </message>
    <message>
        <source>View from below</source>
        <translation>Ansicht von unten</translation>
    </message>
    <message>
        <source>Plate</source>
        <translation>Platte</translation>
    </message>
    <message numerus="yes">
        <source>%n part(s) on the plate</source>
        <translation>
            <numerusform>%n Teil auf der Platte</numerusform>
            <numerusform>%n Teile auf der Platte</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n selected</source>
        <translation>
            <numerusform>%n ausgewählt</numerusform>
            <numerusform>%n ausgewählt</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n problem(s)</source>
        <translation>
            <numerusform>%n Problem</numerusform>
            <numerusform>%n Probleme</numerusform>
        </translation>
    </message>
    <message>
        <source>Arrange on plate</source>
        <translation>Auf der Platte anordnen</translation>
    </message>
</context>
<context>
    <name>Workbench::PostedJobs</name>
    <message>
        <source>Job</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Machine</source>
        <translation>Maschine</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>Alter</translation>
    </message>
</context>
<context>
    <name>Workbench::PostedPanel</name>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>The Machine Manager is not there</source>
        <translation>Der Machine Manager ist nicht da</translation>
    </message>
    <message>
        <source>The Machine Manager is starting</source>
        <translation>Der Machine Manager startet</translation>
    </message>
    <message>
        <source>Your jobs are shown as soon as it is there.</source>
        <translation>Ihre Aufträge werden gezeigt, sobald er da ist.</translation>
    </message>
    <message>
        <source>No jobs yet</source>
        <translation>Noch keine Aufträge</translation>
    </message>
    <message>
        <source>Attach a machine of the Machine Manager and post a job: it goes on when this window is closed, and is shown here with its state.</source>
        <translation>Wählen Sie eine Maschine des Machine Managers und übergeben Sie einen Auftrag: Er läuft weiter, wenn dieses Fenster geschlossen ist, und wird hier mit seinem Zustand gezeigt.</translation>
    </message>
    <message>
        <source>The jobs are shown as they were last. %1</source>
        <translation>Die Aufträge sind so gezeigt, wie sie zuletzt waren. %1</translation>
    </message>
    <message>
        <source>Machine: %1</source>
        <translation>Maschine: %1</translation>
    </message>
    <message>
        <source>Copies: %1 of %2 are done</source>
        <translation>Kopien: %1 von %2 sind fertig</translation>
    </message>
    <message>
        <source>%p %</source>
        <translation>%p %</translation>
    </message>
    <message>
        <source>%p % · %1</source>
        <translation>%p % · %1</translation>
    </message>
    <message>
        <source>My jobs</source>
        <translation>Meine Aufträge</translation>
    </message>
    <message>
        <source>About the selected job</source>
        <translation>Zum ausgewählten Auftrag</translation>
    </message>
    <message>
        <source>Progress of the selected job</source>
        <translation>Fortschritt des ausgewählten Auftrags</translation>
    </message>
    <message>
        <source>Start the Machine Manager</source>
        <translation>Machine Manager starten</translation>
    </message>
    <message>
        <source>Show older jobs</source>
        <translation>Ältere Aufträge zeigen</translation>
    </message>
    <message>
        <source>Save machine file as…</source>
        <translation>Maschinendatei speichern als…</translation>
    </message>
    <message>
        <source>Show in the browser</source>
        <translation>Im Browser zeigen</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>What can be done with the selected job</source>
        <translation>Was mit dem ausgewählten Auftrag getan werden kann</translation>
    </message>
    <message>
        <source>Posted: %1 (%2)</source>
        <translation>Übergeben: %1 (%2)</translation>
    </message>
</context>
<context>
    <name>Workbench::PostedWords</name>
    <message>
        <source>Queued</source>
        <translation>Wartet</translation>
    </message>
    <message>
        <source>Held</source>
        <translation>Zurückgehalten</translation>
    </message>
    <message>
        <source>In progress</source>
        <translation>In Arbeit</translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation>Steht still</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>Abgebrochen</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Its platform file is on its way to the manager.</source>
        <translation>Seine Plattformdatei ist auf dem Weg zum Manager.</translation>
    </message>
    <message>
        <source>It is held until somebody releases it.</source>
        <translation>Er ist zurückgehalten, bis ihn jemand freigibt.</translation>
    </message>
    <message>
        <source>It waits for a machine.</source>
        <translation>Er wartet auf eine Maschine.</translation>
    </message>
    <message>
        <source>Its machine file is being made.</source>
        <translation>Seine Maschinendatei wird erstellt.</translation>
    </message>
    <message>
        <source>Its machine file goes to the printer.</source>
        <translation>Seine Maschinendatei geht an den Drucker.</translation>
    </message>
    <message>
        <source>The printer is being told to begin.</source>
        <translation>Dem Drucker wird gesagt, dass er beginnen soll.</translation>
    </message>
    <message>
        <source>It is being printed.</source>
        <translation>Er wird gedruckt.</translation>
    </message>
    <message>
        <source>The printer was told to begin, and nobody knows whether it did. Look at it.</source>
        <translation>Der Drucker sollte beginnen, und niemand weiß, ob er es tat. Sehen Sie nach ihm.</translation>
    </message>
    <message>
        <source>The printer began and stands still, or is out of reach.</source>
        <translation>Der Drucker hat begonnen und steht still oder ist nicht erreichbar.</translation>
    </message>
    <message>
        <source>It is being cancelled.</source>
        <translation>Er wird abgebrochen.</translation>
    </message>
    <message>
        <source>Somebody cancelled it.</source>
        <translation>Jemand hat ihn abgebrochen.</translation>
    </message>
    <message>
        <source>Hold</source>
        <translation>Zurückhalten</translation>
    </message>
    <message>
        <source>The job waits until it is released.</source>
        <translation>Der Auftrag wartet, bis er freigegeben wird.</translation>
    </message>
    <message>
        <source>Release</source>
        <translation>Freigeben</translation>
    </message>
    <message>
        <source>The job goes to a machine as soon as one fits.</source>
        <translation>Der Auftrag geht an eine Maschine, sobald eine passt.</translation>
    </message>
    <message>
        <source>Cancel the job</source>
        <translation>Auftrag abbrechen</translation>
    </message>
    <message>
        <source>The job ends here.</source>
        <translation>Der Auftrag endet hier.</translation>
    </message>
    <message>
        <source>Cancel this job?</source>
        <translation>Diesen Auftrag abbrechen?</translation>
    </message>
    <message>
        <source>The machine is told to stop &apos;%1&apos;. A job that was cancelled cannot go on.</source>
        <translation>Die Maschine soll mit &apos;%1&apos; aufhören. Ein abgebrochener Auftrag kann nicht weitergehen.</translation>
    </message>
    <message>
        <source>Start again</source>
        <translation>Erneut starten</translation>
    </message>
    <message>
        <source>Nothing was started: the job waits for the machine once more.</source>
        <translation>Nichts wurde gestartet: Der Auftrag wartet noch einmal auf die Maschine.</translation>
    </message>
    <message>
        <source>Start this job again?</source>
        <translation>Diesen Auftrag erneut starten?</translation>
    </message>
    <message>
        <source>Look at the machine first: when it has begun after all, &apos;%1&apos; is printed twice.</source>
        <translation>Sehen Sie zuerst nach der Maschine: Hat sie doch begonnen, wird &apos;%1&apos; zweimal gedruckt.</translation>
    </message>
    <message>
        <source>It is printed</source>
        <translation>Er ist gedruckt</translation>
    </message>
    <message>
        <source>The machine has made it: the job is done.</source>
        <translation>Die Maschine hat ihn gefertigt: Der Auftrag ist fertig.</translation>
    </message>
    <message>
        <source>Is this job printed?</source>
        <translation>Ist dieser Auftrag gedruckt?</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is done then, and the machine takes the next job: its plate must be free.</source>
        <translation>&apos;%1&apos; ist dann fertig, und die Maschine nimmt den nächsten Auftrag: Ihre Platte muss frei sein.</translation>
    </message>
    <message>
        <source>What is loaded will do</source>
        <translation>Was geladen ist, genügt</translation>
    </message>
    <message>
        <source>The job may start whatever the machine is loaded with.</source>
        <translation>Der Auftrag darf starten, womit auch immer die Maschine geladen ist.</translation>
    </message>
    <message>
        <source>Will what is loaded do?</source>
        <translation>Genügt, was geladen ist?</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is started although the machine may be loaded with something else than it was prepared for.</source>
        <translation>&apos;%1&apos; wird gestartet, obwohl die Maschine vielleicht mit etwas anderem geladen ist, als wofür er vorbereitet wurde.</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>under 1 min</source>
        <translation>unter 1 min</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>%1 d</source>
        <translation>%1 T</translation>
    </message>
    <message>
        <source>any that fits</source>
        <translation>jede, die passt</translation>
    </message>
</context>
<context>
    <name>Workbench::PreviewView</name>
    <message>
        <source>Reading %1 …</source>
        <translation>%1 wird gelesen …</translation>
    </message>
    <message>
        <source>Layer</source>
        <translation>Schicht</translation>
    </message>
    <message>
        <source>&amp;Layer</source>
        <translation>&amp;Schicht</translation>
    </message>
    <message>
        <source>Reading of the machine file</source>
        <translation>Lesen der Maschinendatei</translation>
    </message>
    <message>
        <source>Time of each layer</source>
        <translation>Zeit jeder Schicht</translation>
    </message>
    <message>
        <source>Outline of the parts</source>
        <translation>Umriss der Teile</translation>
    </message>
    <message>
        <source>%1, %2 %</source>
        <translation>%1, %2 %</translation>
    </message>
    <message>
        <source>of %1 layers</source>
        <translation>von %1 Schichten</translation>
    </message>
    <message>
        <source>Time of the layer %1</source>
        <translation>Zeit der Schicht %1</translation>
    </message>
    <message>
        <source>Time of all layers %1</source>
        <translation>Zeit aller Schichten %1</translation>
    </message>
    <message>
        <source>Height %1</source>
        <translation>Höhe %1</translation>
    </message>
    <message>
        <source>Filament %1 of %2 m</source>
        <translation>Filament %1 von %2 m</translation>
    </message>
    <message>
        <source>X %1 to %2</source>
        <translation>X %1 bis %2</translation>
    </message>
    <message>
        <source>Y %1 to %2</source>
        <translation>Y %1 bis %2</translation>
    </message>
</context>
<context>
    <name>Workbench::PrinterRibbon</name>
    <message>
        <source>Commands of %1</source>
        <translation>Befehle von %1</translation>
    </message>
    <message>
        <source>Printer commands</source>
        <translation>Druckerbefehle</translation>
    </message>
</context>
<context>
    <name>Workbench::Problems</name>
    <message>
        <source>(without a name)</source>
        <translation>(ohne Namen)</translation>
    </message>
    <message>
        <source>%1 leaves the bed by %2.</source>
        <translation>%1 ragt um %2 über das Druckbett hinaus.</translation>
    </message>
    <message>
        <source>%1 is %2 too high.</source>
        <translation>%1 ist um %2 zu hoch.</translation>
    </message>
    <message>
        <source>%1 reaches %2 below the plate.</source>
        <translation>%1 reicht %2 unter die Platte.</translation>
    </message>
    <message>
        <source>%1 stands in a zone that must stay free.</source>
        <translation>%1 steht in einem Bereich, der frei bleiben muss.</translation>
    </message>
    <message>
        <source>%1 stands in the zone “%2”, which must stay free.</source>
        <translation>%1 steht im Bereich „%2“, der frei bleiben muss.</translation>
    </message>
    <message>
        <source>%1 and %2 are in each other&apos;s way.</source>
        <translation>%1 und %2 sind einander im Weg.</translation>
    </message>
    <message>
        <source>%1 and %2 are too finely meshed to be compared: keep them further apart.</source>
        <translation>%1 und %2 sind zu fein vernetzt, um verglichen zu werden: Stellen Sie sie weiter auseinander.</translation>
    </message>
</context>
<context>
    <name>Workbench::ProblemsPanel</name>
    <message>
        <source>Problems of the plate</source>
        <translation>Probleme der Platte</translation>
    </message>
    <message>
        <source>Looking at the parts …</source>
        <translation>Die Teile werden geprüft …</translation>
    </message>
    <message>
        <source>There is nothing on the plate.</source>
        <translation>Auf der Platte ist nichts.</translation>
    </message>
    <message>
        <source>No problems: all parts can stay where they are.</source>
        <translation>Keine Probleme: Alle Teile können bleiben, wo sie sind.</translation>
    </message>
    <message numerus="yes">
        <source>%n problem(s)</source>
        <translation>
            <numerusform>%n Problem</numerusform>
            <numerusform>%n Probleme</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Workbench::SceneBook</name>
    <message>
        <source>Scene</source>
        <translation>Szene</translation>
    </message>
    <message>
        <source>Scene %1</source>
        <translation>Szene %1</translation>
    </message>
    <message>
        <source>&apos;%1&apos; holds %2 platforms; a scene takes one.</source>
        <translation>„%1“ enthält %2 Plattformen; eine Szene nimmt eine.</translation>
    </message>
    <message>
        <source>Import parts</source>
        <translation>Teile importieren</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no file that can be opened here: platforms (.TavAMX) and meshes (%2) are.</source>
        <translation>„%1“ kann hier nicht geöffnet werden: Möglich sind Plattformen (.TavAMX) und Netze (%2).</translation>
    </message>
</context>
<context>
    <name>Workbench::ScenePage</name>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
    <message>
        <source>%1 is gone: nothing can be sent to it until it comes back.</source>
        <translation>%1 ist nicht mehr da: Bis sie wiederkommt, kann nichts an sie gesendet werden.</translation>
    </message>
    <message>
        <source>No machine chosen yet</source>
        <translation>Noch keine Maschine gewählt</translation>
    </message>
    <message>
        <source>%1 layers</source>
        <translation>%1 Schichten</translation>
    </message>
    <message>
        <source>%1 cm³</source>
        <translation>%1 cm³</translation>
    </message>
    <message>
        <source>%1 g</source>
        <translation>%1 g</translation>
    </message>
    <message>
        <source>Out of date: %1</source>
        <translation>Veraltet: %1</translation>
    </message>
    <message>
        <source>No estimates yet</source>
        <translation>Noch keine Schätzung</translation>
    </message>
    <message>
        <source>Choose a machine</source>
        <translation>Maschine wählen</translation>
    </message>
    <message>
        <source>New platform…</source>
        <translation>Neue Plattform…</translation>
    </message>
    <message>
        <source>Material, layer height and what else the machine offers.</source>
        <translation>Material, Schichthöhe und was die Maschine sonst anbietet.</translation>
    </message>
    <message>
        <source>Parts</source>
        <translation>Teile</translation>
    </message>
    <message>
        <source>Problems (%1)</source>
        <translation>Probleme (%1)</translation>
    </message>
    <message>
        <source>Problems</source>
        <translation>Probleme</translation>
    </message>
    <message>
        <source>Parts and problems</source>
        <translation>Teile und Probleme</translation>
    </message>
</context>
<context>
    <name>Workbench::SettingsDialog</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>Wie der Desktop</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Farben</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <source>Lengths</source>
        <translation>Längen</translation>
    </message>
    <message>
        <source>Millimetres</source>
        <translation>Millimeter</translation>
    </message>
    <message>
        <source>Inches (files stay in millimetres)</source>
        <translation>Zoll (Dateien bleiben in Millimetern)</translation>
    </message>
    <message>
        <source>Price of the material</source>
        <translation>Preis des Materials</translation>
    </message>
    <message>
        <source> %1 per kg</source>
        <translation> %1 je kg</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>nicht bekannt</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Open: %1</source>
        <translation>Öffnen: %1</translation>
    </message>
    <message>
        <source>Your printers&apos; profiles</source>
        <translation>Profile Ihrer Drucker</translation>
    </message>
    <message>
        <source>Machine files</source>
        <translation>Maschinendateien</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Clear the kept results</source>
        <translation>Aufgehobene Ergebnisse leeren</translation>
    </message>
    <message>
        <source>The engine&apos;s results are kept so that nothing is sliced twice. Clearing costs only time.</source>
        <translation>Die Ergebnisse der Slicing-Engine werden aufgehoben, damit nichts zweimal geschnitten wird. Das Leeren kostet nur Zeit.</translation>
    </message>
    <message>
        <source>Kept results of the engine</source>
        <translation>Aufgehobene Ergebnisse der Engine</translation>
    </message>
    <message>
        <source>Detailed, for finding a fault</source>
        <translation>Ausführlich, für die Fehlersuche</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>being measured</source>
        <translation>wird ermittelt</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
</context>
<context>
    <name>Workbench::ShortcutsDialog</name>
    <message>
        <source>Keyboard shortcuts</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>What</source>
        <translation>Was</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Tasten</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>Workbench::SignInDialog</name>
    <message>
        <source>Keep it in the desktop&apos;s keyring</source>
        <translation>Im Schlüsselbund des Schreibtischs aufbewahren</translation>
    </message>
    <message>
        <source>Sign in to a machine service</source>
        <translation>An einem Maschinendienst anmelden</translation>
    </message>
    <message>
        <source>Only if the service has users</source>
        <translation>Nur wenn der Dienst Benutzer kennt</translation>
    </message>
    <message>
        <source>Otherwise it counts until the window is closed. It is written to no file.</source>
        <translation>Sonst gilt es, bis das Fenster geschlossen wird. Es wird in keine Datei geschrieben.</translation>
    </message>
    <message>
        <source>Service</source>
        <translation>Dienst</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <source>Secret or token</source>
        <translation>Geheimnis oder Token</translation>
    </message>
    <message>
        <source>Sign in</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Jetzt nicht</translation>
    </message>
</context>
<context>
    <name>Workbench::StepPlayer</name>
    <message>
        <source>The window did not come to rest.</source>
        <translation>Das Fenster kam nicht zur Ruhe.</translation>
    </message>
    <message>
        <source>Step &apos;%1&apos;: %2</source>
        <translation>Schritt „%1“: %2</translation>
    </message>
    <message>
        <source>there is no machine of this name.</source>
        <translation>eine Maschine dieses Namens gibt es nicht.</translation>
    </message>
    <message>
        <source>no dialog is open.</source>
        <translation>kein Dialog ist offen.</translation>
    </message>
    <message>
        <source>the machine has no such command.</source>
        <translation>die Maschine hat keinen solchen Befehl.</translation>
    </message>
    <message>
        <source>there is no such tab.</source>
        <translation>diesen Reiter gibt es nicht.</translation>
    </message>
    <message>
        <source>there is no such part.</source>
        <translation>dieses Teil gibt es nicht.</translation>
    </message>
    <message>
        <source>the size is missing.</source>
        <translation>die Größe fehlt.</translation>
    </message>
    <message>
        <source>it is unknown.</source>
        <translation>er ist unbekannt.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be written: %2.</source>
        <translation>„%1“ kann nicht geschrieben werden: %2.</translation>
    </message>
</context>
<context>
    <name>Workbench::SupportReportDialog</name>
    <message>
        <source>Report for support</source>
        <translation>Bericht für den Support</translation>
    </message>
    <message>
        <source>This is all that the report holds. It is written to a file of your choice and sent to nobody.</source>
        <translation>Das ist alles, was der Bericht enthält. Er wird in eine Datei Ihrer Wahl geschrieben und an niemanden gesendet.</translation>
    </message>
    <message>
        <source>Texts of the report</source>
        <translation>Texte des Berichts</translation>
    </message>
    <message>
        <source>Save…</source>
        <translation>Speichern…</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Save the report</source>
        <translation>Den Bericht speichern</translation>
    </message>
    <message>
        <source>Packages (*.zip)</source>
        <translation>Pakete (*.zip)</translation>
    </message>
    <message>
        <source>Saved as &apos;%1&apos;.</source>
        <translation>Gespeichert als „%1“.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be written: %2. Choose another folder.</source>
        <translation>„%1“ kann nicht geschrieben werden: %2. Wählen Sie einen anderen Ordner.</translation>
    </message>
</context>
</TS>
