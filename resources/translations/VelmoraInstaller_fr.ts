<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Continuer</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Retour</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Quitter</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Visiter les archives</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Le chemin du produit est manquant.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Le nom du programme est manquant.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>La signature du produit est manquante.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Si vous souhaitez d’abord lire la documentation, cliquez sur le bouton « ? ».</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ ne peut pas être installé sur cet ordinateur, car il nécessite Linux avec le noyau %3$@ ou ultérieur.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Pour savoir si une version plus ancienne de %@ est disponible pour votre ordinateur, consultez nos archives de logiciels.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ ne doit pas être ouvert pendant l’installation.&#13;Quittez %1$@, puis cliquez à nouveau sur « Installer ».</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Essayez d’installer %1$@ manuellement en le copiant dans le dossier des applications (/Applications ou ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ a été installé avec succès.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>La copie existante n’a pas pu être mise à la corbeille.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>Aucun agent d’authentification ne fonctionne dans cette session pour demander le mot de passe administrateur.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>L’installation a échoué.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>La copie avec les droits d’administrateur a échoué.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Icône du produit</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Installation terminée</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Installation en cours</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Dossier de destination</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Documentation</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Lisez-moi</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Cette copie de %1$@ n’a pas été installée : elle ne provient pas de l’éditeur de la copie installée, ou elle est endommagée.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>Installation de %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Ce programme installe %@ sur votre ordinateur.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Destination :</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Cliquez sur « Installer » pour copier %@ dans ce dossier. Une copie précédente est placée dans la corbeille.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installer</translation>
    </message>
</context>
</TS>
