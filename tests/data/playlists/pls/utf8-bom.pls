[playlist]
File1=März.mp3
NumberOfEntries=1
Version=2
