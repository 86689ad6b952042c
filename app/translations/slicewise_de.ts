<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>ActionSheet</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>ActivityIndicator</name>
    <message>
        <source>In progress</source>
        <translation>Läuft</translation>
    </message>
</context>
<context>
    <name>ChartPane</name>
    <message>
        <source>Chart of %1</source>
        <translation>Diagramm von %1</translation>
    </message>
</context>
<context>
    <name>DeleteButton</name>
    <message>
        <source>Confirm deleting %1</source>
        <translation>Löschen von %1 bestätigen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>DeleteMinus</name>
    <message>
        <source>Delete %1</source>
        <translation>%1 löschen</translation>
    </message>
</context>
<context>
    <name>DocumentFacts</name>
    <message>
        <source>PDF document</source>
        <translation>PDF-Dokument</translation>
    </message>
    <message>
        <source>Property list</source>
        <translation>Property-Liste</translation>
    </message>
    <message>
        <source>Empty file</source>
        <translation>Leere Datei</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Sound</source>
        <translation>Ton</translation>
    </message>
    <message>
        <source>Film</source>
        <translation>Film</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>1 byte</source>
        <translation>1 Byte</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 Bytes</translation>
    </message>
    <message>
        <source>The file is no longer there.</source>
        <translation>Die Datei ist nicht mehr da.</translation>
    </message>
    <message>
        <source>You are not allowed to read this file.</source>
        <translation>Keine Berechtigung, diese Datei zu lesen.</translation>
    </message>
    <message>
        <source>This is a folder.</source>
        <translation>Das ist ein Ordner.</translation>
    </message>
    <message>
        <source>This is not a regular file.</source>
        <translation>Das ist keine gewöhnliche Datei.</translation>
    </message>
    <message>
        <source>The file can&apos;t be read.</source>
        <translation>Die Datei lässt sich nicht lesen.</translation>
    </message>
</context>
<context>
    <name>DocumentSheets</name>
    <message>
        <source>Open with Application</source>
        <translation>Mit Programm öffnen</translation>
    </message>
    <message>
        <source>Copy Path</source>
        <translation>Pfad kopieren</translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation>Im Ordner zeigen</translation>
    </message>
</context>
<context>
    <name>EmptyLevel</name>
    <message>
        <source>Nothing in here</source>
        <translation>Hier ist nichts</translation>
    </message>
    <message>
        <source>It takes up no storage.</source>
        <translation>Es belegt keinen Speicher.</translation>
    </message>
</context>
<context>
    <name>FactsPanel</name>
    <message>
        <source>Less</source>
        <translation>Weniger</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Changed</source>
        <translation>Geändert</translation>
    </message>
    <message>
        <source>Made</source>
        <translation>Erstellt</translation>
    </message>
    <message>
        <source>Where</source>
        <translation>Ort</translation>
    </message>
</context>
<context>
    <name>MediaView</name>
    <message>
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
</context>
<context>
    <name>NavigationBarItem</name>
    <message>
        <source>Back to %1</source>
        <translation>Zurück zu %1</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>NodeRow</name>
    <message>
        <source>No name</source>
        <translation>Ohne Namen</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
</context>
<context>
    <name>NoticeView</name>
    <message>
        <source>Show Bytes</source>
        <translation>Bytes zeigen</translation>
    </message>
</context>
<context>
    <name>PagesView</name>
    <message>
        <source>Page %1 of %2</source>
        <translation>Seite %1 von %2</translation>
    </message>
    <message>
        <source>This page can&apos;t be drawn.</source>
        <translation>Diese Seite kann nicht gezeichnet werden.</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
</context>
<context>
    <name>PreviewPage</name>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Actions</source>
        <translation>Aktionen</translation>
    </message>
    <message>
        <source>Opening…</source>
        <translation>Wird geöffnet …</translation>
    </message>
</context>
<context>
    <name>slicewise::Document</name>
    <message>
        <source>The file is empty.</source>
        <translation>Die Datei ist leer.</translation>
    </message>
    <message>
        <source>1 page</source>
        <translation>1 Seite</translation>
    </message>
    <message>
        <source>%1 pages</source>
        <translation>%1 Seiten</translation>
    </message>
    <message>
        <source>%1 × %2 pixels</source>
        <translation>%1 × %2 Pixel</translation>
    </message>
    <message>
        <source>There is nothing installed that shows files of this kind.</source>
        <translation>Es ist nichts installiert, das Dateien dieser Art zeigt.</translation>
    </message>
    <message>
        <source>There is too much in this file to be shown.</source>
        <translation>In dieser Datei ist zu viel, um es zu zeigen.</translation>
    </message>
    <message>
        <source>This document is protected by a password.</source>
        <translation>Dieses Dokument ist durch ein Passwort geschützt.</translation>
    </message>
    <message>
        <source>This file is damaged, or not what its name says.</source>
        <translation>Diese Datei ist beschädigt oder nicht das, was ihr Name sagt.</translation>
    </message>
</context>
<context>
    <name>slicewise::SZAViewController</name>
    <message>
        <source>Scanning</source>
        <translation>Wird durchsucht</translation>
    </message>
    <message>
        <source>%1 used out of %2</source>
        <translation>%1 von %2 belegt</translation>
    </message>
    <message>
        <source>Disk</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Uninstall {}?</source>
        <translation>{} deinstallieren?</translation>
    </message>
    <message>
        <source>Deletion failed for some or all of the files.</source>
        <translation>Einige oder alle Dateien konnten nicht gelöscht werden.</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Deleting</source>
        <translation>Wird gelöscht</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>Deinstallieren</translation>
    </message>
    <message>
        <source>Delete failed</source>
        <translation>Löschen fehlgeschlagen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
</TS>
