<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Fortfahren</translation>
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
</context>
</TS>
