<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>متابعة</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>تثبيت</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>إلغاء</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>رجوع</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>موافق</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>إنهاء</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>زيارة الأرشيف</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>مسار المنتج مفقود.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>اسم البرنامج مفقود.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>توقيع المنتج مفقود.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>إذا أردت قراءة التوثيق أولًا، فانقر زر «?».</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>لا يمكن تثبيت %1$@ %2$@ على هذا الحاسوب لأنه يتطلب لينكس بالنواة %3$@ أو أحدث.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>لمعرفة ما إذا كان هناك إصدار أقدم من %@ متاح لحاسوبك، يُرجى زيارة أرشيف البرامج لدينا.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#13;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>لا يمكن أن يكون %1$@ قيد التشغيل أثناء التثبيت.&#13;أنهِ %1$@، ثم انقر «تثبيت» مرة أخرى.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>حاول تثبيت %1$@ يدويًا بنسخه إلى مجلد التطبيقات (/Applications أو ~/Applications).</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>تم تثبيت %@ بنجاح.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>تعذّر نقل النسخة الموجودة إلى سلة المهملات.</translation>
    </message>
    <message>
        <source>No authentication agent is running in this session to ask for the administrator password.</source>
        <translation>لا يعمل في هذه الجلسة وكيل استيثاق يطلب كلمة سر المدير.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>فشل التثبيت.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>فشل النسخ بصلاحيات المدير.</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>أيقونة المنتج</translation>
    </message>
    <message>
        <source>Installation complete</source>
        <translation>اكتمل التثبيت</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>التثبيت جارٍ</translation>
    </message>
    <message>
        <source>Destination folder</source>
        <translation>مجلد الوجهة</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>التوثيق</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>اقرأني</translation>
    </message>
    <message>
        <source>This copy of %1$@ was not installed: it is not from the maker of the installed copy, or it is damaged.</source>
        <translation>لم يتم تثبيت هذه النسخة من %1$@: فهي ليست من صانع النسخة المثبتة، أو أنها تالفة.</translation>
    </message>
</context>
<context>
    <name>InstallerWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>مُثبِّت %@</translation>
    </message>
    <message>
        <source>This program installs %@ on your computer.</source>
        <translation>يثبّت هذا البرنامج %@ على حاسوبك.</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>الوجهة:</translation>
    </message>
    <message>
        <source>Click “Install” to copy %@ into this folder. A previous copy is moved to the Trash.</source>
        <translation>انقر «تثبيت» لنسخ %@ إلى هذا المجلد. تُنقل أي نسخة سابقة إلى سلة المهملات.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>إلغاء</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>تثبيت</translation>
    </message>
</context>
</TS>
