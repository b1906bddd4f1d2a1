[playlist]
numberofentries=2
File1=http://stream.example:8000/?type=http&sid=1
Title1=(#1 - 12/500) Example Radio
Length1=-1
File2=http://backup.example:8010
Title2=(#2 - 3/500) Example Radio
Length2=-1
Version=2
