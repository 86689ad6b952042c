<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>slicewise::SZAViewController</name>
    <message>
        <source>Disk</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>%1 used out of %2</source>
        <translation>%1 von %2 belegt</translation>
    </message>
    <message>
        <source>Scanning</source>
        <translation>Wird durchsucht</translation>
    </message>
</context>
</TS>
