<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Продолжить</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Установить</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Назад</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Выйти</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Открыть архив</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Не указан путь к продукту.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Не указано имя программы.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>Не указана подпись продукта.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Если вы хотите сначала прочитать документацию, нажмите кнопку «?».</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ нельзя установить на этот компьютер: требуется Linux с ядром %3$@ или новее.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Чтобы узнать, есть ли более старая версия %@ для вашего компьютера, посетите наш архив программ.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>Во время установки %1$@ не должен быть запущен.&#13;Завершите %1$@ и снова нажмите «Установить».</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Попробуйте установить %1$@ вручную, скопировав его в папку приложений (/Applications или ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ успешно установлен.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>Не удалось переместить существующую копию в корзину.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>В этом сеансе не запущен агент аутентификации, который мог бы запросить пароль администратора.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>Установка не удалась.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>Не удалось скопировать с правами администратора.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Значок продукта</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>Установка завершена</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Идёт установка</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>Папка установки</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Документация</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Прочтите</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>Эта копия %1$@ не установлена: она выпущена не производителем установленной копии или повреждена.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>Установка %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>Эта программа устанавливает %@ на ваш компьютер.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Место установки:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>Нажмите «Установить», чтобы скопировать %@ в эту папку. Предыдущая копия будет перемещена в корзину.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Установить</translation>
    </message>
</context>
</TS>
