<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>MachineCtl::Backup</name>
    <message>
        <source>The backup %1 is no backup, or is not whole: what it holds is told at its end, and that is missing. Copy it once more, or take another one.</source>
        <translation>Die Sicherung %1 ist keine oder nicht vollständig: was sie enthält, steht an ihrem Ende, und das fehlt. Kopieren Sie sie noch einmal oder nehmen Sie eine andere.</translation>
    </message>
    <message>
        <source>%1 is no backup of a Machine Manager, or is damaged. Name another one.</source>
        <translation>%1 ist keine Sicherung eines Machine Managers oder beschädigt. Nennen Sie eine andere.</translation>
    </message>
    <message>
        <source>A newer version of this program has made the backup %1. Restore it with that one.</source>
        <translation>Die Sicherung %1 hat eine neuere Version dieses Programms angelegt. Stellen Sie sie mit jener wieder her.</translation>
    </message>
    <message>
        <source>The backup %1 is damaged: its file %2 is missing or has changed. Copy it once more, or take another one.</source>
        <translation>Die Sicherung %1 ist beschädigt: ihre Datei %2 fehlt oder ist verändert. Kopieren Sie sie noch einmal oder nehmen Sie eine andere.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::BackupArchive</name>
    <message>
        <source>There is a file %1 already; name another one.</source>
        <translation>Es gibt schon eine Datei %1; nennen Sie eine andere.</translation>
    </message>
    <message>
        <source>The backup %1 cannot be written: %2. Make room, or name another place.</source>
        <translation>Die Sicherung %1 kann nicht geschrieben werden: %2. Schaffen Sie Platz oder nennen Sie einen anderen Ort.</translation>
    </message>
    <message>
        <source>The backup %1 cannot be read: %2. Name another one.</source>
        <translation>Die Sicherung %1 kann nicht gelesen werden: %2. Nennen Sie eine andere.</translation>
    </message>
    <message>
        <source>The backup %1 is damaged, ends before its end, or is no tar archive. Copy it once more, or take another one.</source>
        <translation>Die Sicherung %1 ist beschädigt, abgeschnitten oder kein tar-Archiv. Kopieren Sie sie noch einmal oder nehmen Sie eine andere.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::BackupCommands</name>
    <message>
        <source>The copy of the job store came damaged; look after the manager&apos;s disk, then try again.</source>
        <translation>Die Kopie der Auftragsdaten kam beschädigt an; prüfen Sie den Datenträger des Managers und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>files: %1</source>
        <translation>Dateien: %1</translation>
    </message>
    <message>
        <source>store</source>
        <translation>Datenbank</translation>
    </message>
    <message>
        <source>missing</source>
        <translation>fehlt</translation>
    </message>
    <message>
        <source>damaged</source>
        <translation>beschädigt</translation>
    </message>
    <message>
        <source>unreadable</source>
        <translation>unlesbar</translation>
    </message>
    <message>
        <source>not needed</source>
        <translation>überflüssig</translation>
    </message>
    <message>
        <source>Fault</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Job</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>What to do</source>
        <translation>Was zu tun ist</translation>
    </message>
    <message>
        <source>Files that were lost and are there again: %1</source>
        <translation>Dateien, die verloren waren und wieder da sind: %1</translation>
    </message>
    <message>
        <source>Files that are lost and not in the backup: %1; machinectl check names them.</source>
        <translation>Dateien, die verloren und nicht in der Sicherung sind: %1; machinectl check nennt sie.</translation>
    </message>
    <message>
        <source>Jobs: %1, files: %2, %3</source>
        <translation>Aufträge: %1, Dateien: %2, %3</translation>
    </message>
    <message>
        <source>Files that the manager has lost, and that the backup lacks: %1; machinectl check names them.</source>
        <translation>Dateien, die der Manager verloren hat und die der Sicherung fehlen: %1; machinectl check nennt sie.</translation>
    </message>
    <message>
        <source>--files replaces no jobs; leave --replace out.</source>
        <translation>--files ersetzt keine Aufträge; lassen Sie --replace weg.</translation>
    </message>
    <message>
        <source>reading: %1</source>
        <translation>gelesen: %1</translation>
    </message>
    <message>
        <source>The manager has jobs already, %1 of them. With --replace they are set aside, in a folder of the manager.</source>
        <translation>Der Manager hat schon Aufträge, und zwar %1. Mit --replace werden sie in einem Ordner des Managers beiseitegelegt.</translation>
    </message>
    <message>
        <source>Restored jobs: %1</source>
        <translation>Wiederhergestellte Aufträge: %1</translation>
    </message>
    <message>
        <source>Jobs that waited when the backup was made, and are held now: %1. Release those that were not printed since.</source>
        <translation>Aufträge, die bei der Sicherung warteten und jetzt zurückgehalten werden: %1. Geben Sie die frei, die seither nicht gedruckt wurden.</translation>
    </message>
    <message>
        <source>What was there before is set aside in the manager&apos;s folder %1, as a backup.</source>
        <translation>Was vorher da war, liegt als Sicherung im Ordner %1 des Managers.</translation>
    </message>
    <message>
        <source>The store is sound, and so is each file of its jobs; files: %1.</source>
        <translation>Die Datenbank ist in Ordnung, ebenso jede Datei ihrer Aufträge; Dateien: %1.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::BackupFolder</name>
    <message>
        <source>The backup %1 cannot be written: %2. Make room, or name another place.</source>
        <translation>Die Sicherung %1 kann nicht geschrieben werden: %2. Schaffen Sie Platz oder nennen Sie einen anderen Ort.</translation>
    </message>
    <message>
        <source>The folder %1 holds something else than a backup. Name one that is empty, or new, or has an earlier backup.</source>
        <translation>Der Ordner %1 enthält etwas anderes als eine Sicherung. Nennen Sie einen leeren, einen neuen oder einen mit einer früheren Sicherung.</translation>
    </message>
    <message>
        <source>The file %1 of the backup cannot be read: %2. Take another backup.</source>
        <translation>Die Datei %1 der Sicherung kann nicht gelesen werden: %2. Nehmen Sie eine andere Sicherung.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::CommandLine</name>
    <message>
        <source>Try machinectl %1.</source>
        <translation>Versuchen Sie machinectl %1.</translation>
    </message>
    <message>
        <source>%1 needs %2.</source>
        <translation>%1 braucht %2.</translation>
    </message>
    <message>
        <source>%1 has no use for &apos;%2&apos;.</source>
        <translation>%1 kann mit &apos;%2&apos; nichts anfangen.</translation>
    </message>
    <message>
        <source>There is no command &apos;%1&apos;.</source>
        <translation>Es gibt keinen Befehl &apos;%1&apos;.</translation>
    </message>
    <message>
        <source>A command is missing.</source>
        <translation>Es fehlt ein Befehl.</translation>
    </message>
    <message>
        <source>--token-file is for an --address of https.</source>
        <translation>--token-file ist für eine --address mit https.</translation>
    </message>
    <message>
        <source>%1 is a number from %2 to %3, not &apos;%4&apos;.</source>
        <translation>%1 ist eine Zahl von %2 bis %3, nicht &apos;%4&apos;.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::Console</name>
    <message>
        <source>The output cannot be printed: %1.</source>
        <translation>Die Ausgabe kann nicht geschrieben werden: %1.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::FileCommands</name>
    <message>
        <source>--id is a UUID, not &apos;%1&apos;.</source>
        <translation>--id ist eine UUID, nicht &apos;%1&apos;.</translation>
    </message>
    <message>
        <source>The job waits for somebody: %1</source>
        <translation>Der Auftrag wartet auf jemanden: %1</translation>
    </message>
    <message>
        <source>The job %1 has no such file; it is %2.</source>
        <translation>Der Auftrag %1 hat keine solche Datei; er ist %2.</translation>
    </message>
    <message>
        <source>There is a file %1 already; name another one by --to.</source>
        <translation>Es gibt schon eine Datei %1; nennen Sie mit --to eine andere.</translation>
    </message>
    <message>
        <source>The same command with --id %1 goes on with this job.</source>
        <translation>Derselbe Befehl mit --id %1 macht mit diesem Auftrag weiter.</translation>
    </message>
    <message>
        <source>--kind is one of %1.</source>
        <translation>--kind ist eines von %1.</translation>
    </message>
    <message>
        <source>The platform %1 carries no estimates; let its machine estimate or build it first.</source>
        <translation>Die Plattform %1 enthält keine Schätzungen; lassen Sie sie zuerst von ihrer Maschine schätzen oder bauen.</translation>
    </message>
    <message>
        <source>Layers</source>
        <translation>Schichten</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Material</source>
        <translation>Material</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>Volumen</translation>
    </message>
    <message>
        <source>Mass</source>
        <translation>Masse</translation>
    </message>
</context>
<context>
    <name>MachineCtl::Groups</name>
    <message>
        <source>There is no group %1; a group is called by the model of its machines, or by how their names begin.</source>
        <translation>Es gibt keine Gruppe %1; eine Gruppe heißt nach dem Modell ihrer Maschinen oder danach, wie deren Namen beginnen.</translation>
    </message>
    <message>
        <source>The group %1 may be that of several models; name one of %2.</source>
        <translation>Die Gruppe %1 kann die mehrerer Modelle sein; nennen Sie eines von %2.</translation>
    </message>
    <message>
        <source>%1 is loaded, not %2.</source>
        <translation>%1 ist geladen, nicht %2.</translation>
    </message>
    <message>
        <source>It works on the job %1.</source>
        <translation>Sie arbeitet am Auftrag %1.</translation>
    </message>
    <message>
        <source>Machine</source>
        <translation>Maschine</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Loaded</source>
        <translation>Geladen</translation>
    </message>
    <message>
        <source>Takes a job</source>
        <translation>Nimmt einen Auftrag</translation>
    </message>
    <message>
        <source>now</source>
        <translation>jetzt</translation>
    </message>
    <message>
        <source>--material is for a --group; what a machine has to have loaded is told by the platform.</source>
        <translation>--material ist für eine --group; was eine Maschine geladen haben muss, sagt die Plattform.</translation>
    </message>
    <message>
        <source>A job is for a machine or for a --group, not for both.</source>
        <translation>Ein Auftrag ist für eine Maschine oder für eine --group, nicht für beides.</translation>
    </message>
    <message>
        <source>Name a machine, or the model of a group by --group.</source>
        <translation>Nennen Sie eine Maschine oder mit --group das Modell einer Gruppe.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::Help</name>
    <message>
        <source>[OPTION …]</source>
        <translation>[OPTION …]</translation>
    </message>
    <message>
        <source>When it is not empty, nothing is coloured.</source>
        <translation>Wenn sie nicht leer ist, wird nichts farbig.</translation>
    </message>
    <message>
        <source>Where the user&apos;s own Machine Manager has its sockets.</source>
        <translation>Wo der eigene Machine Manager des Benutzers seine Sockets hat.</translation>
    </message>
    <message>
        <source>The program that is started where the user&apos;s own Machine Manager does not run.</source>
        <translation>Das Programm, das gestartet wird, wo der eigene Machine Manager des Benutzers nicht läuft.</translation>
    </message>
    <message>
        <source>Certificates of the authorities that may vouch for a Machine Manager over https.</source>
        <translation>Zertifikate der Stellen, die über https für einen Machine Manager bürgen dürfen.</translation>
    </message>
    <message>
        <source>Shows the jobs and machines of a Machine Manager, hands jobs in, and tells it what to do with them. Without an address it is the user&apos;s own, which is started where it does not run.</source>
        <translation>Zeigt die Aufträge und Maschinen eines Machine Managers, gibt Aufträge ab und sagt ihm, was mit ihnen geschehen soll. Ohne Adresse ist es der eigene des Benutzers, der gestartet wird, wo er nicht läuft.</translation>
    </message>
    <message>
        <source>Usage: %1</source>
        <translation>Aufruf: %1</translation>
    </message>
    <message>
        <source>Commands:</source>
        <translation>Befehle:</translation>
    </message>
    <message>
        <source>Options of all commands:</source>
        <translation>Optionen aller Befehle:</translation>
    </message>
    <message>
        <source>Exit status:</source>
        <translation>Rückgabewert:</translation>
    </message>
    <message>
        <source>Environment:</source>
        <translation>Umgebung:</translation>
    </message>
    <message>
        <source>machinectl COMMAND --help tells the options of a command.</source>
        <translation>machinectl COMMAND --help nennt die Optionen eines Befehls.</translation>
    </message>
    <message>
        <source>Options:</source>
        <translation>Optionen:</translation>
    </message>
    <message>
        <source>NAME</source>
        <translation>BEZEICHNUNG</translation>
    </message>
    <message>
        <source>jobs and machines of a Machine Manager</source>
        <translation>Aufträge und Maschinen eines Machine Managers</translation>
    </message>
    <message>
        <source>SYNOPSIS</source>
        <translation>ÜBERSICHT</translation>
    </message>
    <message>
        <source>DESCRIPTION</source>
        <translation>BESCHREIBUNG</translation>
    </message>
    <message>
        <source>COMMANDS</source>
        <translation>BEFEHLE</translation>
    </message>
    <message>
        <source>OPTIONS OF ALL COMMANDS</source>
        <translation>OPTIONEN ALLER BEFEHLE</translation>
    </message>
    <message>
        <source>EXIT STATUS</source>
        <translation>RÜCKGABEWERT</translation>
    </message>
    <message>
        <source>ENVIRONMENT</source>
        <translation>UMGEBUNG</translation>
    </message>
    <message>
        <source>There is a completion for bash, not for &apos;%1&apos;.</source>
        <translation>Es gibt eine Vervollständigung für bash, nicht für &apos;%1&apos;.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::JobCommands</name>
    <message>
        <source>There is no state &apos;%1&apos; of jobs; there are %2.</source>
        <translation>Es gibt keinen Zustand &apos;%1&apos; von Aufträgen; es gibt %2.</translation>
    </message>
    <message>
        <source>There are no such jobs.</source>
        <translation>Es gibt keine solchen Aufträge.</translation>
    </message>
    <message>
        <source>There may be more jobs; --all shows them.</source>
        <translation>Es gibt vielleicht weitere Aufträge; --all zeigt sie.</translation>
    </message>
    <message>
        <source>The priority</source>
        <translation>Die Priorität</translation>
    </message>
    <message>
        <source>This Machine Manager has no page; its settings say that there is none.</source>
        <translation>Dieser Machine Manager hat keine Seite; seine Einstellungen sagen, dass es keine gibt.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::JobViews</name>
    <message>
        <source>any %1</source>
        <translation>ein %1</translation>
    </message>
    <message>
        <source>Job</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Why</source>
        <translation>Warum</translation>
    </message>
    <message>
        <source>Machine</source>
        <translation>Maschine</translation>
    </message>
    <message>
        <source>Owner</source>
        <translation>Besitzer</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>Alter</translation>
    </message>
    <message>
        <source>Waiting</source>
        <translation>Wartend</translation>
    </message>
    <message>
        <source>Loaded</source>
        <translation>Geladen</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Who</source>
        <translation>Wer</translation>
    </message>
    <message>
        <source>What</source>
        <translation>Was</translation>
    </message>
    <message>
        <source>Phase</source>
        <translation>Phase</translation>
    </message>
    <message>
        <source>Fits</source>
        <translation>Passt</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>Id</source>
        <translation>Id</translation>
    </message>
    <message>
        <source>Stage</source>
        <translation>Schritt</translation>
    </message>
    <message>
        <source>Reasons</source>
        <translation>Gründe</translation>
    </message>
    <message>
        <source>Priority</source>
        <translation>Priorität</translation>
    </message>
    <message>
        <source>Copies</source>
        <translation>Exemplare</translation>
    </message>
    <message>
        <source>%1 of %2 printed</source>
        <translation>%1 von %2 gedruckt</translation>
    </message>
    <message>
        <source>Handed in</source>
        <translation>Abgegeben</translation>
    </message>
    <message>
        <source>Changed</source>
        <translation>Geändert</translation>
    </message>
    <message>
        <source>Needs</source>
        <translation>Braucht</translation>
    </message>
    <message>
        <source>Material</source>
        <translation>Material</translation>
    </message>
    <message>
        <source>Mass</source>
        <translation>Masse</translation>
    </message>
    <message>
        <source>Platform</source>
        <translation>Plattform</translation>
    </message>
    <message>
        <source>Machine file</source>
        <translation>Maschinendatei</translation>
    </message>
    <message>
        <source>Actions</source>
        <translation>Aktionen</translation>
    </message>
    <message>
        <source>Model</source>
        <translation>Modell</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>nicht bekannt</translation>
    </message>
    <message>
        <source>Printer</source>
        <translation>Drucker</translation>
    </message>
    <message>
        <source>Last seen</source>
        <translation>Zuletzt da</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
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
        <translation>%1 d</translation>
    </message>
    <message>
        <source>any %1 with %2</source>
        <translation>jede %1 mit %2</translation>
    </message>
</context>
<context>
    <name>MachineCtl::MachineCommands</name>
    <message>
        <source>--nozzle is a diameter in mm of at most 100, not &apos;%1&apos;.</source>
        <translation>--nozzle ist ein Durchmesser in mm von höchstens 100, nicht &apos;%1&apos;.</translation>
    </message>
    <message>
        <source>What is read from standard input is too long to tell of a printer.</source>
        <translation>Was von der Standardeingabe kommt, ist zu lang, um einen Drucker zu beschreiben.</translation>
    </message>
    <message>
        <source>There are no machines.</source>
        <translation>Es gibt keine Maschinen.</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>nicht bekannt</translation>
    </message>
    <message>
        <source>A printer is told by a JSON object, or by none; this is neither: %1.</source>
        <translation>Einen Drucker beschreibt ein JSON-Objekt oder none; dies ist keines von beiden: %1.</translation>
    </message>
    <message>
        <source>it is no object</source>
        <translation>es ist kein Objekt</translation>
    </message>
</context>
<context>
    <name>MachineCtl::Session</name>
    <message>
        <source>The token in %1 cannot be read: %2.</source>
        <translation>Das Token in %1 kann nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>The file %1 holds no token; it has to hold one alone.</source>
        <translation>Die Datei %1 enthält kein Token; sie muss genau eines enthalten.</translation>
    </message>
</context>
<context>
    <name>MachineCtl::Table</name>
    <message>
        <source>Print JSON for programs instead of text for people.</source>
        <translation>JSON für Programme statt Text für Menschen ausgeben.</translation>
    </message>
    <message>
        <source>Ask the Machine Manager at this address, unix:/PATH or https://HOST:PORT, instead of the user&apos;s own.</source>
        <translation>Den Machine Manager unter dieser Adresse, unix:/PATH oder https://HOST:PORT, statt des eigenen des Benutzers fragen.</translation>
    </message>
    <message>
        <source>Sign in over https with the token that this file holds.</source>
        <translation>Über https mit dem Token anmelden, das diese Datei enthält.</translation>
    </message>
    <message>
        <source>Show this help and end.</source>
        <translation>Diese Hilfe zeigen und enden.</translation>
    </message>
    <message>
        <source>Show the version and end.</source>
        <translation>Die Version zeigen und enden.</translation>
    </message>
    <message>
        <source>This material is loaded; an empty text: nobody knows.</source>
        <translation>Dieses Material ist geladen; ein leerer Text: niemand weiß es.</translation>
    </message>
    <message>
        <source>A nozzle of this diameter is mounted; an empty text: nobody knows.</source>
        <translation>Eine Düse mit diesem Durchmesser ist eingebaut; ein leerer Text: niemand weiß es.</translation>
    </message>
    <message>
        <source>This plate is inserted; an empty text: nobody knows.</source>
        <translation>Diese Platte ist eingelegt; ein leerer Text: niemand weiß es.</translation>
    </message>
    <message>
        <source>Tell everybody why.</source>
        <translation>Allen den Grund nennen.</translation>
    </message>
    <message>
        <source>Only jobs in this state; several are separated by commas.</source>
        <translation>Nur Aufträge in diesem Zustand; mehrere trennt ein Komma.</translation>
    </message>
    <message>
        <source>Only jobs of whoever asks.</source>
        <translation>Nur Aufträge dessen, der fragt.</translation>
    </message>
    <message>
        <source>Only jobs that are for this machine or on it.</source>
        <translation>Nur Aufträge, die für diese Maschine oder auf ihr sind.</translation>
    </message>
    <message>
        <source>All of them, and not the 50 newest only.</source>
        <translation>Alle, und nicht nur die 50 neuesten.</translation>
    </message>
    <message>
        <source>The machine that the job is for.</source>
        <translation>Die Maschine, für die der Auftrag ist.</translation>
    </message>
    <message>
        <source>Hold the job until somebody releases it.</source>
        <translation>Den Auftrag zurückhalten, bis ihn jemand freigibt.</translation>
    </message>
    <message>
        <source>Print it so often, 1 to 999 times.</source>
        <translation>So oft drucken, 1- bis 999-mal.</translation>
    </message>
    <message>
        <source>From 1 to 100, usually 50; higher goes first.</source>
        <translation>Von 1 bis 100, sonst 50; Höheres kommt zuerst.</translation>
    </message>
    <message>
        <source>Name of the job; without it, that of the file.</source>
        <translation>Name des Auftrags; sonst der der Datei.</translation>
    </message>
    <message>
        <source>Id of the job: the same id is the same job, so that an upload that was interrupted goes on where it was.</source>
        <translation>Id des Auftrags: dieselbe Id ist derselbe Auftrag, so dass eine unterbrochene Übertragung weitergeht, wo sie war.</translation>
    </message>
    <message>
        <source>End when the job has ended, with 1 when it was not completed.</source>
        <translation>Enden, wenn der Auftrag beendet ist, mit 1, wenn er nicht fertig wurde.</translation>
    </message>
    <message>
        <source>Write to this file, or into this folder.</source>
        <translation>In diese Datei oder in diesen Ordner schreiben.</translation>
    </message>
    <message>
        <source>Get this file: machine-file, platform or picture.</source>
        <translation>Diese Datei holen: machine-file, platform oder picture.</translation>
    </message>
    <message>
        <source>List the machines with their state, queue and what is loaded.</source>
        <translation>Die Maschinen mit Zustand, Warteschlange und dem, was geladen ist, auflisten.</translation>
    </message>
    <message>
        <source>Tell what is loaded at a machine; without an option, show it.</source>
        <translation>Sagen, was an einer Maschine geladen ist; ohne Option es zeigen.</translation>
    </message>
    <message>
        <source>What no option names stays as it was told before.</source>
        <translation>Was keine Option nennt, bleibt, wie es zuvor gesagt wurde.</translation>
    </message>
    <message>
        <source>Give a machine no further jobs.</source>
        <translation>Einer Maschine keine weiteren Aufträge geben.</translation>
    </message>
    <message>
        <source>Give a machine jobs again.</source>
        <translation>Einer Maschine wieder Aufträge geben.</translation>
    </message>
    <message>
        <source>Tell what takes the machine files of a machine.</source>
        <translation>Sagen, was die Maschinendateien einer Maschine entgegennimmt.</translation>
    </message>
    <message>
        <source>It is a JSON object; with - it is read from standard input, where others on this computer do not see what it holds.</source>
        <translation>Es ist ein JSON-Objekt; mit - wird es von der Standardeingabe gelesen, wo andere auf diesem Computer nicht sehen, was es enthält.</translation>
    </message>
    <message>
        <source>List the jobs, the newest first.</source>
        <translation>Die Aufträge auflisten, die neuesten zuerst.</translation>
    </message>
    <message>
        <source>TEXT is a part of the name, or a number. With --json it is an array of all jobs that were asked for, each with id, name, state, reasons and machine.</source>
        <translation>TEXT ist ein Teil des Namens oder eine Nummer. Mit --json ist es ein Array aller Aufträge, nach denen gefragt wurde, jeder mit id, name, state, reasons und machine.</translation>
    </message>
    <message>
        <source>Show everything about a job, its history, and which machines fit.</source>
        <translation>Alles über einen Auftrag, seine Geschichte und die passenden Maschinen zeigen.</translation>
    </message>
    <message>
        <source>A job is called by its number or its id.</source>
        <translation>Ein Auftrag wird mit seiner Nummer oder seiner Id genannt.</translation>
    </message>
    <message>
        <source>Let a waiting job stay until it is released.</source>
        <translation>Einen wartenden Auftrag zurückhalten, bis er freigegeben wird.</translation>
    </message>
    <message>
        <source>Let a held job wait for its machine.</source>
        <translation>Einen zurückgehaltenen Auftrag auf seine Maschine warten lassen.</translation>
    </message>
    <message>
        <source>Cancel a job.</source>
        <translation>Einen Auftrag abbrechen.</translation>
    </message>
    <message>
        <source>Say that the printer did not begin, and let the job wait again.</source>
        <translation>Sagen, dass der Drucker nicht begonnen hat, und den Auftrag wieder warten lassen.</translation>
    </message>
    <message>
        <source>When it did begin after all, the job is printed twice.</source>
        <translation>Wenn er doch begonnen hat, wird der Auftrag zweimal gedruckt.</translation>
    </message>
    <message>
        <source>Say that a job is printed.</source>
        <translation>Sagen, dass ein Auftrag gedruckt ist.</translation>
    </message>
    <message>
        <source>Say that what is loaded will do, though the job asks for something else.</source>
        <translation>Sagen, dass das Geladene genügt, obwohl der Auftrag etwas anderes verlangt.</translation>
    </message>
    <message>
        <source>Set a job&apos;s priority, from 1 to 100; higher goes first.</source>
        <translation>Die Priorität eines Auftrags setzen, von 1 bis 100; Höheres kommt zuerst.</translation>
    </message>
    <message>
        <source>Make a new job of the same platform.</source>
        <translation>Einen neuen Auftrag aus derselben Plattform machen.</translation>
    </message>
    <message>
        <source>Get the machine file of a job, or another of its files.</source>
        <translation>Die Maschinendatei eines Auftrags oder eine andere seiner Dateien holen.</translation>
    </message>
    <message>
        <source>Show changes as they happen, until the job has ended.</source>
        <translation>Änderungen zeigen, wenn sie geschehen, bis der Auftrag beendet ist.</translation>
    </message>
    <message>
        <source>Without a job it shows those of all jobs, until it is interrupted. With --json each line is an object.</source>
        <translation>Ohne Auftrag zeigt es die aller Aufträge, bis es unterbrochen wird. Mit --json ist jede Zeile ein Objekt.</translation>
    </message>
    <message>
        <source>Show the estimates that a platform carries.</source>
        <translation>Die Schätzungen zeigen, die eine Plattform enthält.</translation>
    </message>
    <message>
        <source>Print the address of the page, or of the page at a job.</source>
        <translation>Die Adresse der Seite oder der Seite bei einem Auftrag ausgeben.</translation>
    </message>
    <message>
        <source>The address of a job lets a browser in once, within an hour.</source>
        <translation>Die Adresse eines Auftrags lässt einen Browser einmal innerhalb einer Stunde ein.</translation>
    </message>
    <message>
        <source>Print what lets a shell complete the commands.</source>
        <translation>Ausgeben, womit eine Shell die Befehle vervollständigt.</translation>
    </message>
    <message>
        <source>Print the man page, for man --local-file.</source>
        <translation>Die Handbuchseite ausgeben, für man --local-file.</translation>
    </message>
    <message>
        <source>It was done.</source>
        <translation>Es wurde getan.</translation>
    </message>
    <message>
        <source>It failed; a sentence tells why.</source>
        <translation>Es ist misslungen; ein Satz sagt, warum.</translation>
    </message>
    <message>
        <source>The command line, or what it holds, cannot be understood.</source>
        <translation>Die Befehlszeile, oder was sie enthält, ist nicht zu verstehen.</translation>
    </message>
    <message>
        <source>There is no such job, machine or file of a job.</source>
        <translation>Es gibt keinen solchen Auftrag, keine solche Maschine oder Datei eines Auftrags.</translation>
    </message>
    <message>
        <source>The state of the job or the machine does not allow it now.</source>
        <translation>Der Zustand des Auftrags oder der Maschine lässt es jetzt nicht zu.</translation>
    </message>
    <message>
        <source>Whoever asks may not do it.</source>
        <translation>Wer fragt, darf es nicht.</translation>
    </message>
    <message>
        <source>The Machine Manager cannot be reached.</source>
        <translation>Der Machine Manager ist nicht zu erreichen.</translation>
    </message>
    <message>
        <source>It was interrupted.</source>
        <translation>Es wurde unterbrochen.</translation>
    </message>
    <message>
        <source>Any machine of this model, or whose name begins so, instead of one.</source>
        <translation>Statt einer Maschine jede dieses Modells oder deren Name so beginnt.</translation>
    </message>
    <message>
        <source>Of the group only machines that have this material loaded.</source>
        <translation>Von der Gruppe nur Maschinen, die dieses Material geladen haben.</translation>
    </message>
    <message>
        <source>The manager has jobs: set them aside in a folder of the manager.</source>
        <translation>Der Manager hat Aufträge: sie in einem Ordner des Managers beiseitelegen.</translation>
    </message>
    <message>
        <source>Only give the manager the files back that its jobs have lost.</source>
        <translation>Dem Manager nur die Dateien zurückgeben, die seine Aufträge verloren haben.</translation>
    </message>
    <message>
        <source>Only look whether each file is there, and read none.</source>
        <translation>Nur nachsehen, ob jede Datei da ist, und keine lesen.</translation>
    </message>
    <message>
        <source>Show everything about a machine, or the machines of a group.</source>
        <translation>Alles über eine Maschine zeigen oder die Maschinen einer Gruppe.</translation>
    </message>
    <message>
        <source>A machine is called by its name, by the beginning of only one name, or by its id. Of a group it is shown which machines would take a job, and what keeps the others from it.</source>
        <translation>Eine Maschine heißt nach ihrem Namen, nach dem Anfang nur eines Namens oder nach ihrer Id. Von einer Gruppe wird gezeigt, welche Maschinen einen Auftrag nähmen und was die anderen davon abhält.</translation>
    </message>
    <message>
        <source>Hand in a platform as a job for a machine, or for a group.</source>
        <translation>Eine Plattform als Auftrag für eine Maschine oder eine Gruppe abgeben.</translation>
    </message>
    <message>
        <source>Give a waiting job to another machine, or to a group.</source>
        <translation>Einen wartenden Auftrag einer anderen Maschine oder einer Gruppe geben.</translation>
    </message>
    <message>
        <source>Write all jobs and their files into a tar archive, or into a folder.</source>
        <translation>Alle Aufträge und ihre Dateien in ein tar-Archiv oder in einen Ordner schreiben.</translation>
    </message>
    <message>
        <source>The manager goes on meanwhile; the backup is of one moment. A folder is one that is there or ends with a slash; where it holds an earlier backup, only what is new is fetched.</source>
        <translation>Der Manager arbeitet dabei weiter; die Sicherung zeigt einen einzigen Zeitpunkt. Ein Ordner ist, was schon einer ist oder mit einem Schrägstrich endet; enthält er eine frühere Sicherung, wird nur Neues geholt.</translation>
    </message>
    <message>
        <source>Put what a backup holds in the place of all jobs.</source>
        <translation>Den Inhalt einer Sicherung an die Stelle aller Aufträge setzen.</translation>
    </message>
    <message>
        <source>Nothing may be carried out meanwhile. Jobs that waited when the backup was made are held then, because they may have been printed since.</source>
        <translation>Dabei darf kein Auftrag ausgeführt werden. Aufträge, die bei der Sicherung warteten, werden danach zurückgehalten, weil sie seither gedruckt worden sein können.</translation>
    </message>
    <message>
        <source>Look whether the store is sound, and each file of a job there and as it was.</source>
        <translation>Prüfen, ob die Datenbank in Ordnung ist und jede Datei eines Auftrags da und unverändert.</translation>
    </message>
    <message>
        <source>It ends with 7 when it found something that is wrong.</source>
        <translation>Endet mit 7, wenn etwas nicht in Ordnung ist.</translation>
    </message>
    <message>
        <source>The store or a file of a job is damaged or missing.</source>
        <translation>Die Datenbank oder eine Datei eines Auftrags ist beschädigt oder fehlt.</translation>
    </message>
</context>
</TS>
