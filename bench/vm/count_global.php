<?php
$limit = (int)$argv[1];
$i = 0;
while ($i < $limit)
    $i = $i + 1;
echo $i, "\n";
