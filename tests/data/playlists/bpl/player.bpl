<?xml version="1.0"?>
<playlist title="Evening">
  <entry Playstring="file:C:\Video\Trip.asf" Name="Trip"/>
  <entry Playstring="Trip 2.wma" Name="Trip 2"/>
</playlist>
