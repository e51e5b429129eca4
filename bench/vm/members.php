<?php
class Point
{
    public $x = 0;
    public $step = 3;
    public $moves = 0;
}

$turns = (int)$argv[1];
$point = new Point();
for ($i = 0; $i < $turns; $i++) {
    $point->x = $point->x + $point->step;
    $point->moves = $point->moves + 1;
}
echo $point->x + $point->moves, "\n";
