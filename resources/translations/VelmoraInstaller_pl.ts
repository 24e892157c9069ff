<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl_PL" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Dalej</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Zainstaluj</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Wstecz</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Zakończ</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Odwiedź archiwum</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Brak ścieżki produktu.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Brak nazwy programu.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>Brak sygnatury produktu.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Aby najpierw przeczytać dokumentację, kliknij przycisk „?”.</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>Nie można zainstalować %1$@ %2$@ na tym komputerze, ponieważ wymaga systemu Linux z jądrem %3$@ lub nowszym.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Aby sprawdzić, czy dla Twojego komputera jest dostępna starsza wersja %@, odwiedź nasze archiwum oprogramowania.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>Podczas instalacji %1$@ nie może być uruchomiony.&#13;Zakończ %1$@, a następnie ponownie kliknij „Zainstaluj”.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Spróbuj zainstalować %1$@ ręcznie, kopiując go do folderu aplikacji (/Applications lub ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ został pomyślnie zainstalowany.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>Nie udało się przenieść istniejącej kopii do kosza.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>W tej sesji nie działa żaden agent uwierzytelniania, który mógłby poprosić o hasło administratora.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>Instalacja nie powiodła się.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>Kopiowanie z uprawnieniami administratora nie powiodło się.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Ikona produktu</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Instalacja zakończona</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Trwa instalacja</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Folder docelowy</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Dokumentacja</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Przeczytaj</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Ta kopia %1$@ nie została zainstalowana: nie pochodzi od producenta zainstalowanej kopii lub jest uszkodzona.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>Instalator %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Ten program instaluje %@ na Twoim komputerze.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Miejsce docelowe:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Kliknij „Zainstaluj”, aby skopiować %@ do tego folderu. Poprzednia kopia zostanie przeniesiona do kosza.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Zainstaluj</translation>
    </message>
</context>
</TS>
