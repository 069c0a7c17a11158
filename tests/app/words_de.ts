<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>start</name>
    <message>
        <source>Error creating log file</source>
        <translation>Die Protokolldatei fehlt</translation>
    </message>
</context>
</TS>
