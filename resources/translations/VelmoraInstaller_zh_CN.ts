<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>继续</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>安装</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>返回</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>好</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>退出</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>访问存档</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>缺少产品路径。</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>缺少程序名称。</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>缺少产品签名。</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>如果您想先阅读文档，请点击“?”按钮。</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ 无法安装在这台电脑上，因为它需要内核 %3$@ 或更高版本的 Linux。</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>要查看是否有适用于您电脑的旧版 %@，请访问我们的软件存档。</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>安装期间 %1$@ 不能运行。&#13;请退出 %1$@，然后再次点击“安装”。</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>请尝试将 %1$@ 复制到应用程序文件夹（/Applications 或 ~/Applications）来手动安装。</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ 已成功安装。</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>无法将现有副本移到回收站。</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>此会话中没有运行可询问管理员密码的身份验证代理。</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>安装失败。</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>以管理员权限复制失败。</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>产品图标</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>安装完成</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>正在安装</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>目标文件夹</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>文档</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>请阅读</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>%1$@ 的此副本未安装：它并非来自已安装副本的开发者，或者已损坏。</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>%@ 安装程序</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>此程序将 %@ 安装到您的电脑上。</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>目标位置：</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>点击“安装”将 %@ 复制到此文件夹。以前的副本会被移到回收站。</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>安装</translation>
    </message>
</context>
</TS>
