<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Hosting::ConfigurationExport</name>
    <message>
        <source>the schema %1 was not found</source>
        <translation>das Schema %1 wurde nicht gefunden</translation>
    </message>
    <message>
        <source>xmllint was not found: install the package libxml2-utils</source>
        <translation>xmllint wurde nicht gefunden: Installieren Sie das Paket libxml2-utils</translation>
    </message>
    <message>
        <source>xmllint did not come to an end</source>
        <translation>xmllint kam zu keinem Ende</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not keep to its schemas: %2</source>
        <translation>„%1“ hält sich nicht an die Schemas: %2</translation>
    </message>
    <message>
        <source>The platform tells nothing about its machine.</source>
        <translation>Die Plattform sagt nichts über ihre Maschine.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; would not hold what was to be written.</source>
        <translation>„%1“ enthielte nicht, was geschrieben werden soll.</translation>
    </message>
</context>
<context>
    <name>Hosting::Host</name>
    <message>
        <source>The Build Processors cannot be started.</source>
        <translation>Die Build Processors können nicht gestartet werden.</translation>
    </message>
    <message>
        <source>The Build Processors did not start.</source>
        <translation>Die Build Processors sind nicht gestartet.</translation>
    </message>
    <message>
        <source>The machine service number %1 did not start.</source>
        <translation>Der Maschinendienst Nummer %1 ist nicht gestartet.</translation>
    </message>
    <message>
        <source>The Machine Manager did not start.</source>
        <translation>Der Machine Manager ist nicht angelaufen.</translation>
    </message>
</context>
<context>
    <name>Hosting::HostProcess</name>
    <message>
        <source>The folder for temporary files cannot be used: %1.</source>
        <translation>Der Ordner für temporäre Dateien kann nicht verwendet werden: %1.</translation>
    </message>
</context>
<context>
    <name>Hosting::JobsBackup</name>
    <message>
        <source>The kept file %1 has grown while it came; see whether somebody writes into the manager&apos;s folder.</source>
        <translation>Die Datei %1 wurde größer, während sie kam; sehen Sie nach, ob jemand in den Ordner des Managers schreibt.</translation>
    </message>
    <message>
        <source>The kept file %1 has shrunk while it came; see whether somebody writes into the manager&apos;s folder.</source>
        <translation>Die Datei %1 wurde kleiner, während sie kam; sehen Sie nach, ob jemand in den Ordner des Managers schreibt.</translation>
    </message>
    <message>
        <source>The file %1 of the backup has become shorter; try again.</source>
        <translation>Die Datei %1 der Sicherung ist kürzer geworden; versuchen Sie es erneut.</translation>
    </message>
</context>
<context>
    <name>Hosting::JobsHttp</name>
    <message>
        <source>What answers at %1 says %2 and no more; a Machine Manager would tell why. Check the address.</source>
        <translation>Was unter %1 antwortet, sagt %2 und nicht mehr; ein Machine Manager würde den Grund nennen. Prüfen Sie die Adresse.</translation>
    </message>
    <message>
        <source>The certificate of the Machine Manager at %1 is not vouched for by an authority that this computer trusts; name the authority&apos;s file by SSL_CERT_FILE.</source>
        <translation>Für das Zertifikat des Machine Managers unter %1 bürgt keine Stelle, der dieser Computer vertraut; nennen Sie die Datei der Stelle mit SSL_CERT_FILE.</translation>
    </message>
    <message>
        <source>The connection with the Machine Manager at %1 broke before all was said; see what it has done, then try again.</source>
        <translation>Die Verbindung mit dem Machine Manager unter %1 brach ab, bevor alles gesagt war; sehen Sie nach, was er getan hat, und versuchen Sie es dann noch einmal.</translation>
    </message>
    <message>
        <source>No Machine Manager can be reached at %1; start it, or name another address.</source>
        <translation>Unter %1 ist kein Machine Manager zu erreichen; starten Sie ihn, oder nennen Sie eine andere Adresse.</translation>
    </message>
    <message>
        <source>The address %1 cannot be used; write unix:/PATH or https://HOST:PORT.</source>
        <translation>Die Adresse %1 ist nicht zu gebrauchen; schreiben Sie unix:/PATH oder https://HOST:PORT.</translation>
    </message>
    <message>
        <source>The answer of what is at %1 is too long for a Machine Manager&apos;s; check the address.</source>
        <translation>Die Antwort dessen, was unter %1 ist, ist zu lang für einen Machine Manager; prüfen Sie die Adresse.</translation>
    </message>
</context>
<context>
    <name>Hosting::JobsJson</name>
    <message>
        <source>The answer of the Machine Manager cannot be read at &apos;%1&apos;; it may be of another version than this program. Bring both to the same one.</source>
        <translation>Die Antwort des Machine Managers ist bei &apos;%1&apos; nicht zu lesen; vielleicht hat er eine andere Version als dieses Programm. Bringen Sie beide auf dieselbe.</translation>
    </message>
</context>
<context>
    <name>Hosting::JobsTransfers</name>
    <message>
        <source>The file %1 cannot be read: %2.</source>
        <translation>Die Datei %1 kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>The file of the job has changed while it came; get it once more.</source>
        <translation>Die Datei des Auftrags hat sich geändert, während sie kam; holen Sie sie noch einmal.</translation>
    </message>
    <message>
        <source>The id %1 is that of another job already, of the file %2; take a new one.</source>
        <translation>Die Id %1 ist schon die eines anderen Auftrags, der Datei %2; nehmen Sie eine neue.</translation>
    </message>
    <message>
        <source>The file of the job %1 came damaged; get it once more.</source>
        <translation>Die Datei des Auftrags %1 kam beschädigt an; holen Sie sie noch einmal.</translation>
    </message>
    <message>
        <source>The file %1 cannot be written: %2.</source>
        <translation>Die Datei %1 kann nicht geschrieben werden: %2.</translation>
    </message>
</context>
<context>
    <name>Hosting::MachineChoice</name>
    <message>
        <source>size unknown</source>
        <translation>Größe unbekannt</translation>
    </message>
    <message>
        <source>⌀ %1 × %2 mm</source>
        <translation>⌀ %1 × %2 mm</translation>
    </message>
    <message>
        <source>%1 × %2 × %3 mm</source>
        <translation>%1 × %2 × %3 mm</translation>
    </message>
</context>
<context>
    <name>Hosting::PlatformChoices</name>
    <message>
        <source>The machine &apos;%1&apos; does not offer the choice &apos;%2&apos;; it offers %3.</source>
        <translation>Die Maschine „%1“ bietet die Auswahl „%2“ nicht an; sie bietet %3 an.</translation>
    </message>
    <message>
        <source>The choice &apos;%1&apos; does not offer the value &apos;%2&apos;; it offers %3.</source>
        <translation>Die Auswahl „%1“ bietet den Wert „%2“ nicht an; sie bietet %3 an.</translation>
    </message>
    <message>
        <source>The choice &apos;%1&apos; needs a value; it offers %2.</source>
        <translation>Die Auswahl „%1“ benötigt einen Wert; sie bietet %2 an.</translation>
    </message>
</context>
<context>
    <name>Hosting::PlatformComparison</name>
    <message>
        <source>another id</source>
        <translation>eine andere ID</translation>
    </message>
    <message>
        <source>another name</source>
        <translation>einen anderen Namen</translation>
    </message>
    <message>
        <source>another place</source>
        <translation>eine andere Lage</translation>
    </message>
    <message>
        <source>another shape</source>
        <translation>eine andere Form</translation>
    </message>
    <message>
        <source>other properties</source>
        <translation>andere Eigenschaften</translation>
    </message>
    <message>
        <source>other strategies</source>
        <translation>andere Strategien</translation>
    </message>
    <message>
        <source>another supports flag</source>
        <translation>eine andere Angabe zu Stützen</translation>
    </message>
    <message>
        <source>The platform has another name.</source>
        <translation>Die Plattform hat einen anderen Namen.</translation>
    </message>
    <message>
        <source>The platform has other properties.</source>
        <translation>Die Plattform hat andere Eigenschaften.</translation>
    </message>
    <message>
        <source>The platform has another machine.</source>
        <translation>Die Plattform hat eine andere Maschine.</translation>
    </message>
    <message>
        <source>The platform has %1 parts instead of %2.</source>
        <translation>Anzahl der Teile auf der Plattform: %1 statt %2.</translation>
    </message>
    <message>
        <source>The part &apos;%1&apos; has %2.</source>
        <translation>Das Teil „%1“ hat %2.</translation>
    </message>
</context>
<context>
    <name>Hosting::ResultFiles</name>
    <message>
        <source>&apos;%1&apos; cannot be written: %2.</source>
        <translation>„%1“ kann nicht geschrieben werden: %2.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not hold one platform.</source>
        <translation>„%1“ enthält nicht genau eine Plattform.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not hold what was saved. %2</source>
        <translation>„%1“ enthält nicht, was gespeichert wurde. %2</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be read: %2.</source>
        <translation>„%1“ kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; was not saved: what was written cannot be read. Please try again.</source>
        <translation>„%1“ wurde nicht gespeichert: Das Geschriebene lässt sich nicht lesen. Bitte versuchen Sie es erneut.</translation>
    </message>
</context>
<context>
    <name>Hosting::RunFolder</name>
    <message>
        <source>No folder can be made in &apos;%1&apos;: %2.</source>
        <translation>In „%1“ kann kein Ordner angelegt werden: %2.</translation>
    </message>
</context>
</TS>
