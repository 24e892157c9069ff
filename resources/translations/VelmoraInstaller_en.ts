<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ cannot be installed on this computer because it requires Linux with kernel %3$@ or newer.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Try installing %1$@ manually by copying it to the applications folder (/Applications or ~/Applications).</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</translation>
    </message>
</context>
</TS>
