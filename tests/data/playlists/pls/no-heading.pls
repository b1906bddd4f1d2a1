File1=a.mp3
Length1=3
File2=file:///C:/Music/b%20c.mp3
Version=2
