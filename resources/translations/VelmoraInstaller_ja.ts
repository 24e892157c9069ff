<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>続ける</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>インストール</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>戻る</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>終了</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>アーカイブを表示</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>製品のパスがありません。</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>プログラム名がありません。</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>製品の署名がありません。</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>先にドキュメントを読む場合は、「?」ボタンをクリックしてください。</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ にはカーネル %3$@ 以降の Linux が必要なため、このコンピュータにはインストールできません。</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>お使いのコンピュータで利用できる %@ の旧バージョンがあるかどうかは、ソフトウェアアーカイブでご確認ください。</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>インストール中は %1$@ を実行できません。&#13;%1$@ を終了してから、もう一度「インストール」をクリックしてください。</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>%1$@ をアプリケーションフォルダ (/Applications または ~/Applications) にコピーして、手動でインストールしてみてください。</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ は正常にインストールされました。</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>既存のコピーをゴミ箱に移動できませんでした。</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>このセッションでは、管理者パスワードを尋ねる認証エージェントが動作していません。</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>インストールに失敗しました。</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>管理者権限でのコピーに失敗しました。</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>製品アイコン</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>インストール完了</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>インストール中</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>インストール先フォルダ</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>ドキュメント</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>お読みください</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>この %1$@ はインストールされませんでした。インストール済みのものと同じ開発元のものではないか、破損しています。</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>%@ インストーラ</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>このプログラムは %@ をコンピュータにインストールします。</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>インストール先:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>「インストール」をクリックすると、%@ がこのフォルダにコピーされます。以前のコピーはゴミ箱に移動されます。</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>インストール</translation>
    </message>
</context>
</TS>
