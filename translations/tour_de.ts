<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Tour::CommandLine</name>
    <message>
        <source>Takes meshes to a machine file: makes a scene, attaches a printer of the catalog, runs its Build command and loads the result back into the scene.</source>
        <translation>Macht aus Netzen eine Druckdatei: legt eine Szene an, verbindet sie mit einem Drucker des Katalogs, führt dessen Befehl „Bauen“ aus und lädt das Ergebnis zurück in die Szene.</translation>
    </message>
    <message>
        <source>Use this machine: its name or its id.</source>
        <translation>Diese Maschine verwenden: ihr Name oder ihre ID.</translation>
    </message>
    <message>
        <source>Run this command of the machine only: its id, as the ribbon&apos;s table shows it.</source>
        <translation>Nur diesen Befehl der Maschine ausführen: seine ID, wie sie in der Tabelle des Menübands steht.</translation>
    </message>
    <message>
        <source>List the machines of the catalog and end.</source>
        <translation>Maschinen des Katalogs auflisten und beenden.</translation>
    </message>
    <message>
        <source>Show this help and end.</source>
        <translation>Diese Hilfe anzeigen und beenden.</translation>
    </message>
    <message>
        <source>Show the version and end.</source>
        <translation>Version anzeigen und beenden.</translation>
    </message>
    <message>
        <source>Mesh files (%1); without any, examples of the slicing engine&apos;s package.</source>
        <translation>Netzdateien (%1); ohne Angabe die Beispiele aus dem Paket der Slicing-Engine.</translation>
    </message>
    <message>
        <source>Try --help.</source>
        <translation>Versuchen Sie --help.</translation>
    </message>
    <message>
        <source>--machine needs a name.</source>
        <translation>--machine benötigt einen Namen.</translation>
    </message>
    <message>
        <source>--command needs an id.</source>
        <translation>--command benötigt eine ID.</translation>
    </message>
    <message>
        <source>An empty file name was given.</source>
        <translation>Es wurde ein leerer Dateiname angegeben.</translation>
    </message>
    <message>
        <source>--list takes neither meshes nor other options.</source>
        <translation>--list erlaubt weder Netze noch andere Optionen.</translation>
    </message>
    <message>
        <source>Choose this for the platform, as the machine offers it; may be given several times.</source>
        <translation>Diese Auswahl für die Plattform treffen, wie die Maschine sie anbietet; mehrfach möglich.</translation>
    </message>
    <message>
        <source>--set needs ID=VALUE, not &apos;%1&apos;.</source>
        <translation>--set benötigt ID=VALUE, nicht „%1“.</translation>
    </message>
    <message>
        <source>--set gives &apos;%1&apos; more than one value.</source>
        <translation>--set gibt „%1“ mehr als einen Wert.</translation>
    </message>
    <message>
        <source>Write the configuration of the attached printer as XML, check it against its schemas and end.</source>
        <translation>Die Konfiguration des zugeordneten Druckers als XML schreiben, gegen ihre Schemas prüfen und enden.</translation>
    </message>
    <message>
        <source>Use the machine service at this address instead of the one in this program; may be given several times. An address is unix:PATH or tls://HOST:PORT.</source>
        <translation>Den Maschinendienst an dieser Adresse statt des Dienstes in diesem Programm nehmen; kann mehrmals angegeben werden. Eine Adresse ist unix:PFAD oder tls://HOST:PORT.</translation>
    </message>
    <message>
        <source>--service needs an address.</source>
        <translation>--service braucht eine Adresse.</translation>
    </message>
    <message>
        <source>Post the platform as a job to the Machine Manager, which is started when it does not run, and wait for the job.</source>
        <translation>Die Plattform als Auftrag an den Machine Manager geben, der gestartet wird, wenn er nicht läuft, und auf den Auftrag warten.</translation>
    </message>
    <message>
        <source>--post takes neither --command nor --service.</source>
        <translation>--post nimmt weder --command noch --service.</translation>
    </message>
    <message>
        <source>--export-config takes neither meshes nor --command nor --post.</source>
        <translation>--export-config nimmt weder Netze noch --command noch --post.</translation>
    </message>
</context>
<context>
    <name>Tour::CommandsStep</name>
    <message>
        <source>Ribbon of %1</source>
        <translation>Menüband von %1</translation>
    </message>
    <message>
        <source>enabled</source>
        <translation>verfügbar</translation>
    </message>
    <message>
        <source>disabled: %1</source>
        <translation>nicht verfügbar: %1</translation>
    </message>
    <message>
        <source>%1 offers no commands.</source>
        <translation>%1 bietet keine Befehle an.</translation>
    </message>
    <message>
        <source>%1 does not offer the command &apos;%2&apos;.</source>
        <translation>%1 bietet den Befehl „%2“ nicht an.</translation>
    </message>
    <message>
        <source>The command &apos;%1&apos; went away.</source>
        <translation>Der Befehl „%1“ ist nicht mehr vorhanden.</translation>
    </message>
    <message>
        <source>The command &apos;%1&apos; was not carried out.</source>
        <translation>Der Befehl „%1“ wurde nicht ausgeführt.</translation>
    </message>
</context>
<context>
    <name>Tour::Output</name>
    <message>
        <source>The output cannot be printed: %1.</source>
        <translation>Die Ausgabe kann nicht geschrieben werden: %1.</translation>
    </message>
</context>
<context>
    <name>Tour::PlatformStep</name>
    <message>
        <source>default</source>
        <translation>Vorgabe</translation>
    </message>
    <message>
        <source>%1, required</source>
        <translation>%1, erforderlich</translation>
    </message>
    <message>
        <source>  materials: %1</source>
        <translation>  Materialien: %1</translation>
    </message>
    <message>
        <source>The machine offers no platform.</source>
        <translation>Die Maschine bietet keine Plattform an.</translation>
    </message>
    <message>
        <source>  sent: %1 = %2</source>
        <translation>  gesendet: %1 = %2</translation>
    </message>
    <message>
        <source>The machine &apos;%1&apos; gave no platform.</source>
        <translation>Die Maschine „%1“ hat keine Plattform geliefert.</translation>
    </message>
</context>
<context>
    <name>Tour::PostStep</name>
    <message>
        <source>This program was built without the Machine Manager: build it with MACHINESERVICE_BUILD_WIRE=ON.</source>
        <translation>Dieses Programm wurde ohne den Machine Manager gebaut: bauen Sie es mit MACHINESERVICE_BUILD_WIRE=ON.</translation>
    </message>
    <message>
        <source>The Machine Manager did not say where it shows the job.</source>
        <translation>Der Machine Manager hat nicht gesagt, wo er den Auftrag zeigt.</translation>
    </message>
    <message>
        <source>  number %1, %2</source>
        <translation>  Nummer %1, %2</translation>
    </message>
    <message>
        <source>  page   %1</source>
        <translation>  Seite  %1</translation>
    </message>
    <message>
        <source>The job is %1: %2</source>
        <translation>Der Auftrag ist %1: %2</translation>
    </message>
    <message>
        <source>The job has no machine file.</source>
        <translation>Der Auftrag hat keine Maschinendatei.</translation>
    </message>
</context>
<context>
    <name>Tour::Results</name>
    <message>
        <source>  configuration %1 (read back, the same)</source>
        <translation>  Konfiguration %1 (zurückgelesen, dasselbe)</translation>
    </message>
    <message>
        <source>  valid, as checked against the schemas</source>
        <translation>  gültig, geprüft gegen die Schemas</translation>
    </message>
    <message>
        <source>  not checked, %1; its schemas are</source>
        <translation>  nicht geprüft, %1; die Schemas sind</translation>
    </message>
    <message>
        <source>  machine file  %1</source>
        <translation>  Druckdatei    %1</translation>
    </message>
    <message>
        <source>The machine returned no machine file.</source>
        <translation>Die Maschine hat keine Druckdatei geliefert.</translation>
    </message>
    <message>
        <source>  platform      %1 (reopened, the same)</source>
        <translation>  Plattform     %1 (erneut geöffnet, unverändert)</translation>
    </message>
    <message>
        <source>  document      %1</source>
        <translation>  Dokument      %1</translation>
    </message>
    <message>
        <source>The folder &apos;%1&apos; cannot be made: %2.</source>
        <translation>Der Ordner „%1“ kann nicht angelegt werden: %2.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be written: %2.</source>
        <translation>„%1“ kann nicht geschrieben werden: %2.</translation>
    </message>
</context>
<context>
    <name>Tour::TerminalQuestions</name>
    <message>
        <source>Secret or token (Ctrl-D for none): </source>
        <translation>Geheimnis oder Token (Strg-D für keines): </translation>
    </message>
    <message>
        <source>%1 shows a certificate for which nobody vouches whom this computer trusts. Its fingerprint (SHA-256) is
%2
Is that what the person says who runs the service? Type yes to trust it: </source>
        <translation>%1 zeigt ein Zertifikat, für das niemand bürgt, dem dieser Rechner vertraut. Sein Fingerabdruck (SHA-256) ist
%2
Sagt die Person, die den Dienst betreibt, denselben? Geben Sie ja ein, um ihm zu vertrauen: </translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
</context>
<context>
    <name>Tour::Tour</name>
    <message>
        <source>layers</source>
        <translation>Schichten</translation>
    </message>
    <message>
        <source>time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>material</source>
        <translation>Material</translation>
    </message>
    <message>
        <source>  %1 %2 layers %3 cm³</source>
        <translation>  %1 %2 Schichten %3 cm³</translation>
    </message>
    <message>
        <source>No machine is called &apos;%1&apos;; --list shows the catalog.</source>
        <translation>Keine Maschine heißt „%1“; --list zeigt den Katalog.</translation>
    </message>
    <message>
        <source>The example mesh &apos;%1&apos; was not found: install the package prusa-slicer, or name a mesh.</source>
        <translation>Das Beispielnetz „%1“ wurde nicht gefunden: Installieren Sie das Paket prusa-slicer oder geben Sie ein Netz an.</translation>
    </message>
    <message>
        <source>Interrupted.</source>
        <translation>Unterbrochen.</translation>
    </message>
    <message>
        <source>Catalog</source>
        <translation>Katalog</translation>
    </message>
    <message>
        <source>Scene</source>
        <translation>Szene</translation>
    </message>
    <message>
        <source>Printer</source>
        <translation>Drucker</translation>
    </message>
    <message>
        <source>Estimates</source>
        <translation>Schätzwerte</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>The catalog offers no machine.</source>
        <translation>Der Katalog bietet keine Maschine an.</translation>
    </message>
    <message>
        <source>  %1  %2 × %3 × %4 mm</source>
        <translation>  %1  %2 × %3 × %4 mm</translation>
    </message>
    <message>
        <source>The machine &apos;%1&apos; could not be attached.</source>
        <translation>Die Maschine „%1“ konnte nicht verbunden werden.</translation>
    </message>
    <message>
        <source>  attached: %1 (%2)</source>
        <translation>  verbunden: %1 (%2)</translation>
    </message>
    <message>
        <source>The machine returned no estimates.</source>
        <translation>Die Maschine hat keine Schätzwerte geliefert.</translation>
    </message>
    <message>
        <source>  none: nothing was built</source>
        <translation>  keine: Es wurde nichts gebaut</translation>
    </message>
    <message>
        <source>  transcript    %1</source>
        <translation>  Protokoll     %1</translation>
    </message>
    <message>
        <source>Platform</source>
        <translation>Plattform</translation>
    </message>
    <message>
        <source>Job</source>
        <translation>Auftrag</translation>
    </message>
</context>
<context>
    <name>Tour::Transcript</name>
    <message>
        <source>The folder &apos;%1&apos; cannot be written to: %2.</source>
        <translation>In den Ordner „%1“ kann nicht geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be written: %2.</source>
        <translation>„%1“ kann nicht geschrieben werden: %2.</translation>
    </message>
</context>
</TS>
