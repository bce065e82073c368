<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>MachineService</name>
    <message>
        <source>The machine&apos;s configuration is not valid: %1.</source>
        <translation>Die Konfiguration der Maschine ist ungültig: %1.</translation>
    </message>
    <message>
        <source>The machine configuration cannot be read: %1</source>
        <translation>Die Maschinenkonfiguration kann nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>Failed to create &apos;%1&apos;: %2.</source>
        <translation>„%1“ konnte nicht erstellt werden: %2.</translation>
    </message>
    <message>
        <source>Failed to read &apos;%1&apos;: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>The machine&apos;s configuration is too long for a platform file.</source>
        <translation>Die Konfiguration der Maschine ist zu lang für eine Plattformdatei.</translation>
    </message>
    <message>
        <source>Could not collect information about Build Processors</source>
        <translation>Informationen zu den Build Processors konnten nicht abgerufen werden</translation>
    </message>
    <message>
        <source>Build Processor command cannot be found. Please check the machine properties from the Build Processor Manager.</source>
        <translation>Der Befehl des Build Processors wurde nicht gefunden. Bitte prüfen Sie die Maschineneigenschaften im Build Processor Manager.</translation>
    </message>
    <message>
        <source>The Build Process doesn&apos;t support report generation</source>
        <translation>Der Bauprozess unterstützt das Erstellen von Berichten nicht</translation>
    </message>
    <message>
        <source>Unexpected Build Processor output.</source>
        <translation>Unerwartete Ausgabe des Build Processors.</translation>
    </message>
    <message>
        <source>Machine cannot be found. Please check the machines added to the Build Processor Manager.</source>
        <translation>Die Maschine wurde nicht gefunden. Bitte prüfen Sie, welche Maschinen im Build Processor Manager hinzugefügt sind.</translation>
    </message>
    <message>
        <source>Build Processor queue is paused. Please resume the queue from the Build Processor Manager.</source>
        <translation>Die Warteschlange des Build Processors ist angehalten. Bitte setzen Sie die Warteschlange im Build Processor Manager fort.</translation>
    </message>
    <message>
        <source>Build Processor queue has an error. Please check the machine status from the Build Processor Manager.</source>
        <translation>In der Warteschlange des Build Processors ist ein Fehler aufgetreten. Bitte prüfen Sie den Maschinenstatus im Build Processor Manager.</translation>
    </message>
    <message>
        <source>Build Processor queue is offline. Please check the connection to the network machine from the Build Processor Manager.</source>
        <translation>Die Warteschlange des Build Processors ist offline. Bitte prüfen Sie die Verbindung zur Netzwerkmaschine im Build Processor Manager.</translation>
    </message>
    <message>
        <source>Unsupported input file format.</source>
        <translation>Das Format der Eingabedatei wird nicht unterstützt.</translation>
    </message>
    <message>
        <source>An error occurred while processing the job.</source>
        <translation>Beim Verarbeiten des Auftrags ist ein Fehler aufgetreten.</translation>
    </message>
    <message>
        <source>Job processing was aborted.</source>
        <translation>Die Verarbeitung des Auftrags wurde abgebrochen.</translation>
    </message>
    <message>
        <source>The platform failed to be sent for processing to the Machine Manager.</source>
        <translation>Die Plattform konnte nicht zur Verarbeitung an den Machine Manager gesendet werden.</translation>
    </message>
    <message>
        <source>An error occurred while loading the machine.</source>
        <translation>Beim Laden der Maschine ist ein Fehler aufgetreten.</translation>
    </message>
    <message>
        <source>Failed to create &apos;%1&apos;.</source>
        <translation>„%1“ konnte nicht erstellt werden.</translation>
    </message>
    <message>
        <source>Get Platform Information</source>
        <translation>Plattforminformationen abrufen</translation>
    </message>
    <message>
        <source>Get Empty Platform</source>
        <translation>Leere Plattform abrufen</translation>
    </message>
    <message>
        <source>Unexpected input file.</source>
        <translation>Unerwartete Eingabedatei.</translation>
    </message>
    <message>
        <source>An error occurred while reading file %1</source>
        <translation>Beim Lesen der Datei %1 ist ein Fehler aufgetreten</translation>
    </message>
    <message>
        <source>PLDF decoding failed.</source>
        <translation>Die PLDF-Daten konnten nicht dekodiert werden.</translation>
    </message>
    <message>
        <source>Error writing PLDF file.</source>
        <translation>Fehler beim Schreiben der PLDF-Datei.</translation>
    </message>
    <message>
        <source>Error loading PLDF file.</source>
        <translation>Fehler beim Laden der PLDF-Datei.</translation>
    </message>
    <message>
        <source>What the scene stored of its machine cannot be read. Please detach the machine from the scene, then attach it again.</source>
        <translation>Was die Szene von ihrer Maschine gespeichert hat, kann nicht gelesen werden. Bitte trennen Sie die Maschine von der Szene und fügen Sie sie dann wieder hinzu.</translation>
    </message>
</context>
<context>
    <name>MachineService::CommandRefusal</name>
    <message>
        <source>There is nothing on the plate.</source>
        <translation>Auf der Platte ist nichts.</translation>
    </message>
    <message>
        <source>It is switched off in the settings.</source>
        <translation>Es ist in den Einstellungen abgeschaltet.</translation>
    </message>
    <message>
        <source>The machine is being asked whether it can do this.</source>
        <translation>Die Maschine wird gefragt, ob sie das kann.</translation>
    </message>
    <message>
        <source>The machine has not answered since %1.</source>
        <translation>Die Maschine antwortet seit %1 nicht.</translation>
    </message>
    <message>
        <source>The machine does not allow it now.</source>
        <translation>Die Maschine lässt das jetzt nicht zu.</translation>
    </message>
</context>
<context>
    <name>MachineService::Remote</name>
    <message>
        <source>The pin is in the file %1.</source>
        <translation>Der Pin steht in der Datei %1.</translation>
    </message>
    <message>
        <source>The fingerprint of its certificate is %1: pin it if the administrator of the service tells the same one.</source>
        <translation>Der Fingerabdruck seines Zertifikats ist %1: Pinnen Sie ihn, wenn der Verwalter des Dienstes denselben nennt.</translation>
    </message>
    <message>
        <source>The host of the machine service %1 is not known: correct the address, or look whether this computer is on the network.</source>
        <translation>Der Rechner des Maschinendienstes %1 ist nicht bekannt: Berichtigen Sie die Adresse oder prüfen Sie, ob dieser Rechner im Netz ist.</translation>
    </message>
    <message>
        <source>No machine service answers at %1: start it there, or correct the address.</source>
        <translation>Unter %1 antwortet kein Maschinendienst: Starten Sie ihn dort oder berichtigen Sie die Adresse.</translation>
    </message>
    <message>
        <source>The machine service at %1 does not answer: look whether its computer runs and can be reached, and start the service again.</source>
        <translation>Der Maschinendienst unter %1 antwortet nicht: Prüfen Sie, ob sein Rechner läuft und erreichbar ist, und starten Sie den Dienst neu.</translation>
    </message>
    <message>
        <source>The connection to the machine service at %1 broke: it is made again as soon as the service answers; look whether the service runs.</source>
        <translation>Die Verbindung zum Maschinendienst unter %1 ist abgerissen: Sie wird wieder aufgebaut, sobald der Dienst antwortet; prüfen Sie, ob er läuft.</translation>
    </message>
    <message>
        <source>Nobody whom this computer trusts vouches for the machine service at %1: name the file with the certificate of its authority for this service, or have the service use another certificate.</source>
        <translation>Für den Maschinendienst unter %1 bürgt niemand, dem dieser Rechner vertraut: Nennen Sie für diesen Dienst die Datei mit dem Zertifikat seiner Zertifizierungsstelle, oder lassen Sie den Dienst ein anderes Zertifikat verwenden.</translation>
    </message>
    <message>
        <source>The certificate of the machine service at %1 is out of date: have it renewed, and look at the clock of this computer.</source>
        <translation>Das Zertifikat des Maschinendienstes unter %1 ist abgelaufen oder noch nicht gültig: Lassen Sie es erneuern und prüfen Sie die Uhr dieses Rechners.</translation>
    </message>
    <message>
        <source>The certificate of the machine service at %1 is for another host: use the name that stands in the certificate, or have it renewed for this one.</source>
        <translation>Das Zertifikat des Maschinendienstes unter %1 gilt für einen anderen Rechner: Verwenden Sie den Namen, der im Zertifikat steht, oder lassen Sie es für diesen erneuern.</translation>
    </message>
    <message>
        <source>The certificate of the machine service at %1 has changed since it was pinned: somebody else may answer there, so ask its administrator whether it was renewed, and take the old pin away only then.</source>
        <translation>Das Zertifikat des Maschinendienstes unter %1 hat sich geändert, seit es gepinnt wurde: Vielleicht antwortet dort jemand anderes. Fragen Sie seinen Verwalter, ob es erneuert wurde, und nehmen Sie den alten Pin erst dann weg.</translation>
    </message>
    <message>
        <source>The machine service at %1 asks for credentials: give those that its administrator made for you.</source>
        <translation>Der Maschinendienst unter %1 verlangt Zugangsdaten: Geben Sie die ein, die sein Verwalter für Sie angelegt hat.</translation>
    </message>
    <message>
        <source>The machine service at %1 does not accept the credentials: correct them, or ask its administrator for new ones.</source>
        <translation>Der Maschinendienst unter %1 nimmt die Zugangsdaten nicht an: Berichtigen Sie sie oder bitten Sie seinen Verwalter um neue.</translation>
    </message>
    <message>
        <source>The machine service at %1 is too old for this program: renew the service.</source>
        <translation>Der Maschinendienst unter %1 ist zu alt für dieses Programm: Erneuern Sie den Dienst.</translation>
    </message>
    <message>
        <source>This program is too old for the machine service at %1: renew this program.</source>
        <translation>Dieses Programm ist zu alt für den Maschinendienst unter %1: Erneuern Sie dieses Programm.</translation>
    </message>
    <message>
        <source>What answers at %1 is no machine service: correct the address.</source>
        <translation>Was unter %1 antwortet, ist kein Maschinendienst: Berichtigen Sie die Adresse.</translation>
    </message>
    <message>
        <source>The platform is larger than the machine service at %1 takes: put fewer parts on it, or ask the administrator of the service to allow more.</source>
        <translation>Die Plattform ist größer, als der Maschinendienst unter %1 annimmt: Legen Sie weniger Teile darauf, oder bitten Sie den Verwalter des Dienstes, mehr zu erlauben.</translation>
    </message>
    <message>
        <source>What travelled between this computer and the machine service at %1 arrived damaged again and again: try again, and have the network looked at.</source>
        <translation>Was zwischen diesem Rechner und dem Maschinendienst unter %1 unterwegs war, kam immer wieder beschädigt an: Versuchen Sie es erneut und lassen Sie das Netz prüfen.</translation>
    </message>
    <message>
        <source>The machine service at %1 has too much to do: try again later.</source>
        <translation>Der Maschinendienst unter %1 hat zu viel zu tun: Versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>The machine service at %1 was started anew and knows nothing of this run any more: run the command again.</source>
        <translation>Der Maschinendienst unter %1 wurde neu gestartet und weiß von diesem Lauf nichts mehr: Führen Sie den Befehl noch einmal aus.</translation>
    </message>
    <message>
        <source>The connection to the machine service at %1 broke during the run and did not come back: look at the machine for what became of the job, and run the command again when the service answers.</source>
        <translation>Die Verbindung zum Maschinendienst unter %1 riss während des Laufs ab und kam nicht wieder: Sehen Sie an der Maschine nach, was aus dem Auftrag geworden ist, und führen Sie den Befehl noch einmal aus, wenn der Dienst antwortet.</translation>
    </message>
    <message>
        <source>The machine service at %1 is not used any more: start this program again.</source>
        <translation>Der Maschinendienst unter %1 wird nicht mehr verwendet: Starten Sie dieses Programm neu.</translation>
    </message>
</context>
<context>
    <name>PrinterHelpers</name>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
    <message>
        <source>There is no active scene.</source>
        <translation>Es gibt keine aktive Szene.</translation>
    </message>
    <message>
        <source>Creating a job in the Machine Manager</source>
        <translation>Auftrag wird im Machine Manager erstellt</translation>
    </message>
    <message>
        <source>Report Properties</source>
        <translation>Berichtseigenschaften</translation>
    </message>
    <message>
        <source>Some data on the platform can&apos;t be exported to the current machine. To be able to export, make the following changes:
 - Convert implicit data to mesh
 - Convert BREP data to mesh
 - Split composed parts
 - or change to a build processor that supports your data</source>
        <translation>Einige Daten auf der Plattform können nicht für die aktuelle Maschine exportiert werden. Nehmen Sie die folgenden Änderungen vor, um exportieren zu können:
 - Implizite Daten in Netze umwandeln
 - BREP-Daten in Netze umwandeln
 - Zusammengesetzte Teile aufteilen
 - oder zu einem Build Processor wechseln, der Ihre Daten unterstützt</translation>
    </message>
    <message>
        <source>The command failed with error code %1.</source>
        <translation>Der Befehl ist mit dem Fehlercode %1 fehlgeschlagen.</translation>
    </message>
    <message>
        <source>The command failed for an unknown reason.</source>
        <translation>Der Befehl ist aus unbekanntem Grund fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Cannot open url: </source>
        <translation>Adresse kann nicht geöffnet werden: </translation>
    </message>
    <message>
        <source>Platform sent</source>
        <translation>Plattform gesendet</translation>
    </message>
    <message>
        <source>The platform was successfully sent to processing.</source>
        <translation>Die Plattform wurde erfolgreich zur Verarbeitung gesendet.</translation>
    </message>
    <message>
        <source>OPEN JOB LIST</source>
        <translation>AUFTRAGSLISTE ÖFFNEN</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be read or written: %2.</source>
        <translation>„%1“ kann nicht gelesen oder geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>The service of the machine ended without an answer.</source>
        <translation>Der Dienst der Maschine wurde ohne Antwort beendet.</translation>
    </message>
    <message>
        <source>There is not enough memory.</source>
        <translation>Der Speicher reicht nicht aus.</translation>
    </message>
</context>
<context>
    <name>Vexlor::DocumentCopies</name>
    <message>
        <source>&apos;%1&apos; cannot be written: %2.</source>
        <translation>„%1“ kann nicht geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be read: %2.</source>
        <translation>„%1“ kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>too many files have its name</source>
        <translation>zu viele Dateien tragen seinen Namen</translation>
    </message>
    <message>
        <source>The folder &apos;%1&apos; cannot be made: %2.</source>
        <translation>Der Ordner „%1“ kann nicht angelegt werden: %2.</translation>
    </message>
</context>
<context>
    <name>Vexlor::JobRunner</name>
    <message>
        <source>Another command is still running.</source>
        <translation>Ein anderer Befehl läuft noch.</translation>
    </message>
</context>
<context>
    <name>Vexlor::MessageDialogs</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>Vexlor::PlatformImport</name>
    <message>
        <source>The host does not know the import kind %1.</source>
        <translation>Das Programm kennt die Importart %1 nicht.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; holds no platform.</source>
        <translation>„%1“ enthält keine Plattform.</translation>
    </message>
    <message>
        <source>Reading the files was cancelled.</source>
        <translation>Das Lesen der Dateien wurde abgebrochen.</translation>
    </message>
</context>
<context>
    <name>Vexlor::ReferenceApiProvider</name>
    <message>
        <source>Load machine output</source>
        <translation>Maschinenausgabe laden</translation>
    </message>
    <message>
        <source>Load platform</source>
        <translation>Plattform laden</translation>
    </message>
    <message>
        <source>Unsupported input file format.</source>
        <translation>Das Format der Eingabedatei wird nicht unterstützt.</translation>
    </message>
    <message>
        <source>The machine&apos;s files hold %1 platforms; a scene takes exactly one.</source>
        <translation>Die Dateien der Maschine enthalten %1 Plattformen; eine Szene nimmt genau eine auf.</translation>
    </message>
</context>
<context>
    <name>VexlorCore::HeldScene</name>
    <message>
        <source>The scene was closed.</source>
        <translation>Die Szene wurde geschlossen.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.AutomaticPlacement</name>
    <message>
        <source>Automatic Placement</source>
        <comment>title</comment>
        <translation>Automatische Platzierung</translation>
    </message>
    <message>
        <source>2D placement of parts on the platform according to user-defined parameters.</source>
        <comment>tooltip</comment>
        <translation>2D-Platzierung der Teile auf der Plattform nach benutzerdefinierten Parametern.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.ConfigurPlatform</name>
    <message>
        <source>Configure Platform</source>
        <comment>title</comment>
        <translation>Plattform konfigurieren</translation>
    </message>
    <message>
        <source>Configure platform settings related to the build processor.</source>
        <comment>tooltip</comment>
        <translation>Plattformeinstellungen für den Build Processor konfigurieren.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.ConfigureConnection</name>
    <message>
        <source>Configure Connection</source>
        <comment>title</comment>
        <translation>Verbindung konfigurieren</translation>
    </message>
    <message>
        <source>Configure the connection to the Build Processor.</source>
        <comment>tooltip</comment>
        <translation>Verbindung zum Build Processor konfigurieren.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.ConfigureParts</name>
    <message>
        <source>Configure Parts</source>
        <comment>title</comment>
        <translation>Teile konfigurieren</translation>
    </message>
    <message>
        <source>Configure parts&apos; settings related to the build processor.</source>
        <comment>tooltip</comment>
        <translation>Teileeinstellungen für den Build Processor konfigurieren.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.ConfigurePrinter</name>
    <message>
        <source>Configure Printer</source>
        <comment>title</comment>
        <translation>Drucker konfigurieren</translation>
    </message>
    <message>
        <source>Configure settings of the printer.</source>
        <comment>tooltip</comment>
        <translation>Einstellungen des Druckers konfigurieren.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.CreateJobUrl</name>
    <message>
        <source>Create Job</source>
        <comment>title</comment>
        <translation>Auftrag erstellen</translation>
    </message>
    <message>
        <source>Send a draft job to Machine Manager for further configuration.</source>
        <comment>tooltip</comment>
        <translation>Auftragsentwurf zur weiteren Konfiguration an den Machine Manager senden.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.PostJob</name>
    <message>
        <source>Build</source>
        <comment>title</comment>
        <translation>Bauen</translation>
    </message>
    <message>
        <source>Send a ready job for processing in Machine Manager.</source>
        <comment>tooltip</comment>
        <translation>Fertigen Auftrag zur Verarbeitung an den Machine Manager senden.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.Print</name>
    <message>
        <source>Build</source>
        <comment>title</comment>
        <translation>Bauen</translation>
    </message>
    <message>
        <source>Send the active platform to the machine.</source>
        <comment>tooltip</comment>
        <translation>Aktive Plattform an die Maschine senden.</translation>
    </message>
</context>
<context>
    <name>commands.Print3D.PrintConsumptionEstimations</name>
    <message>
        <source>Build Consumption Estimations</source>
        <comment>title</comment>
        <translation>Bauverbrauch schätzen</translation>
    </message>
    <message>
        <source>Build Consumption Estimations.</source>
        <comment>tooltip</comment>
        <translation>Verbrauch für den Bau schätzen.</translation>
    </message>
</context>
</TS>
