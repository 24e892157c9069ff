<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Continuar</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Instalar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Atrás</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>Aceptar</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Salir</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Visitar el archivo</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Falta la ruta del producto.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Falta el nombre del programa.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>Falta la firma del producto.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Si desea leer primero la documentación, haga clic en el botón «?».</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ no se puede instalar en este ordenador porque requiere Linux con el núcleo %3$@ o posterior.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Para comprobar si hay disponible una versión anterior de %@ para su ordenador, visite nuestro archivo de software.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ no puede estar abierto durante la instalación.&#13;Salga de %1$@ y vuelva a hacer clic en «Instalar».</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Intente instalar %1$@ manualmente copiándolo en la carpeta de aplicaciones (/Applications o ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ se ha instalado correctamente.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>No se pudo mover la copia existente a la papelera.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>No hay ningún agente de autenticación en esta sesión que pueda pedir la contraseña de administrador.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>La instalación ha fallado.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>La copia con derechos de administrador ha fallado.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Icono del producto</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Instalación completada</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Instalación en curso</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Carpeta de destino</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Documentación</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Léame</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Esta copia de %1$@ no se ha instalado: no procede del fabricante de la copia instalada o está dañada.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>Instalador de %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Este programa instala %@ en su ordenador.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Destino:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Haga clic en «Instalar» para copiar %@ en esta carpeta. Una copia anterior se mueve a la papelera.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Instalar</translation>
    </message>
</context>
</TS>
