[playlist]
File1=a.mp3
Title1=A
NumberOfEntries=1
