readkit call getNumReferences --library "$library" --args '["small.bam", 1]'
