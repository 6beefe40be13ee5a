<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>MainWindow</name>
    <message numerus="yes">
        <source>%n new mail(s) from %1</source>
        <translation>
            <numerusform>%n new mail from %1</numerusform>
            <numerusform>%n new mails from %1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ProjectPage</name>
    <message numerus="yes">
        <source>%n member(s)</source>
        <translation>
            <numerusform>%n member</numerusform>
            <numerusform>%n members</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n mail(s)</source>
        <translation>
            <numerusform>%n mail</numerusform>
            <numerusform>%n mails</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Outbox: %n mail(s) wait</source>
        <translation>
            <numerusform>Outbox: %n mail waits</numerusform>
            <numerusform>Outbox: %n mails wait</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>StartPage</name>
    <message numerus="yes">
        <source>%n member(s)</source>
        <translation>
            <numerusform>%n member</numerusform>
            <numerusform>%n members</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n working now</source>
        <translation>
            <numerusform>%n working now</numerusform>
            <numerusform>%n working now</numerusform>
        </translation>
    </message>
</context>
</TS>
