<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en">
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
        <translation>Voltar</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Sair</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Visitar arquivo</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>O caminho do produto está faltando.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>O nome do programa está faltando.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>A assinatura do produto está faltando.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Se quiser ler a documentação primeiro, clique no botão “?”.</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ não pode ser instalado neste computador porque requer Linux com kernel %3$@ ou mais recente.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Para verificar se há uma versão mais antiga de %@ disponível para o seu computador, visite nosso arquivo de software.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ não pode estar em execução durante a instalação.&#13;Encerre o %1$@ e clique em “Instalar” novamente.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Tente instalar o %1$@ manualmente, copiando-o para a pasta de aplicativos (/Applications ou ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ foi instalado com sucesso.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>Não foi possível mover a cópia existente para a lixeira.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>Nenhum agente de autenticação está em execução nesta sessão para pedir a senha de administrador.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>A instalação falhou.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>A cópia com privilégios de administrador falhou.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Ícone do produto</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Instalação concluída</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Instalação em andamento</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Pasta de destino</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Documentação</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Leia-me</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Esta cópia de %1$@ não foi instalada: ela não é do fabricante da cópia instalada ou está danificada.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>Instalador do %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Este programa instala o %@ no seu computador.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Destino:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Clique em “Instalar” para copiar o %@ para esta pasta. Uma cópia anterior é movida para a lixeira.</translation>
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
