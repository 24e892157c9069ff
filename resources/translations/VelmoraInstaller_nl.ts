<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="nl_NL" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Doorgaan</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installeren</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuleren</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Terug</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Stoppen</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Archief bezoeken</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Het pad van het product ontbreekt.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>De naam van het programma ontbreekt.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>De handtekening van het product ontbreekt.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Als u eerst de documentatie wilt lezen, klikt u op de knop ‘?’.</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ kan niet op deze computer worden geïnstalleerd, omdat het Linux met kernel %3$@ of nieuwer vereist.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Bezoek ons softwarearchief om te zien of er een oudere versie van %@ voor uw computer beschikbaar is.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ mag tijdens de installatie niet actief zijn.&#13;Stop %1$@ en klik dan opnieuw op ‘Installeren’.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Probeer %1$@ handmatig te installeren door het naar de map met programma’s te kopiëren (/Applications of ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ is geïnstalleerd.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>De bestaande kopie kon niet naar de prullenbak worden verplaatst.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>Er draait in deze sessie geen authenticatieagent die om het beheerderswachtwoord kan vragen.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>De installatie is mislukt.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>Het kopiëren met beheerdersrechten is mislukt.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Productpictogram</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Installatie voltooid</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Installatie bezig</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Doelmap</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Documentatie</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Lees mij</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Deze kopie van %1$@ is niet geïnstalleerd: ze is niet afkomstig van de maker van de geïnstalleerde kopie, of ze is beschadigd.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>%@ installeren</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Dit programma installeert %@ op uw computer.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Bestemming:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Klik op ‘Installeren’ om %@ naar deze map te kopiëren. Een eerdere kopie wordt naar de prullenbak verplaatst.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuleren</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installeren</translation>
    </message>
</context>
</TS>
