<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Fortfahren</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Archiv besuchen</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Der Pfad des Produkts fehlt.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Der Name des Programms fehlt.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>Die Signatur des Produkts fehlt.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Wenn Sie zuerst die Dokumentation lesen möchten, klicken Sie auf die Taste „?“.</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ kann auf diesem Computer nicht installiert werden, da es Linux mit dem Kernel %3$@ oder neuer benötigt.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Ob eine ältere Version von %@ für Ihren Computer erhältlich ist, erfahren Sie in unserem Software-Archiv.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ darf während der Installation nicht laufen.&#13;Beenden Sie %1$@ und klicken Sie dann erneut auf „Installieren“.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Versuchen Sie, %1$@ von Hand zu installieren, indem Sie es in den Programme-Ordner (/Applications) kopieren.</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ wurde erfolgreich installiert.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>Die vorhandene Kopie konnte nicht in den Papierkorb gelegt werden.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>In dieser Sitzung läuft kein Authentifizierungsagent, der nach dem Administratorpasswort fragen könnte.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>Die Installation ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>Das Kopieren mit Administratorrechten ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Produktsymbol</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Installation abgeschlossen</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Installation läuft</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Zielordner</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Dokumentation</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Bitte lesen</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Diese Kopie von %1$@ wurde nicht installiert: Sie stammt nicht vom Hersteller der installierten Kopie oder ist beschädigt.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>%@ installieren</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Dieses Programm installiert %@ auf Ihrem Computer.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Ziel:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Klicken Sie auf „Installieren“, um %@ in diesen Ordner zu kopieren. Eine vorhandene Kopie wird in den Papierkorb gelegt.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
</context>
</TS>
