<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it_IT" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Continua</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installa</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Indietro</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Esci</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Visita l’archivio</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Manca il percorso del prodotto.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Manca il nome del programma.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>Manca la firma del prodotto.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Se desideri leggere prima la documentazione, fai clic sul pulsante «?».</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ non può essere installato su questo computer perché richiede Linux con kernel %3$@ o successivo.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Per verificare se è disponibile una versione precedente di %@ per il tuo computer, visita il nostro archivio software.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ non può essere in esecuzione durante l’installazione.&#13;Esci da %1$@, quindi fai di nuovo clic su «Installa».</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Prova a installare %1$@ manualmente copiandolo nella cartella delle applicazioni (/Applications o ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ è stato installato correttamente.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>Impossibile spostare nel cestino la copia esistente.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>In questa sessione non è attivo alcun agente di autenticazione che chieda la password di amministratore.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>Installazione non riuscita.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>Copia con privilegi di amministratore non riuscita.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Icona del prodotto</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Installazione completata</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Installazione in corso</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Cartella di destinazione</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Documentazione</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Leggimi</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Questa copia di %1$@ non è stata installata: non proviene dal produttore della copia installata oppure è danneggiata.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>Installazione di %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Questo programma installa %@ sul tuo computer.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Destinazione:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Fai clic su «Installa» per copiare %@ in questa cartella. Una copia precedente viene spostata nel cestino.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annulla</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installa</translation>
    </message>
</context>
</TS>
