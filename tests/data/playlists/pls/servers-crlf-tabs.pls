[playlist]
NumberOfEntries=3
File1=\\nas\m\a.mp3
Title1=File2=no.mp3
	File2=b.mp3
FILE3=file:///C:/Music/c%20d.mp3
Length3=-1
Version=2
